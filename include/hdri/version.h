#pragma once

/// The version of these headers, and of the project; CMake sees to that.
#define ORVHDRI_VERSION_MAJOR 0
#define ORVHDRI_VERSION_MINOR 1
#define ORVHDRI_VERSION_PATCH 0

/// The version as one number, to be compared: 10203 is 1.2.3.
#define ORVHDRI_VERSION_NUMBER \
  (10000 * ORVHDRI_VERSION_MAJOR + 100 * ORVHDRI_VERSION_MINOR + ORVHDRI_VERSION_PATCH)

/// The version as text, such as "1.2.3".
#define ORVHDRI_VERSION_STRING                 \
  ORVHDRI_VERSION_TEXT_(ORVHDRI_VERSION_MAJOR) \
  "." ORVHDRI_VERSION_TEXT_(ORVHDRI_VERSION_MINOR) "." ORVHDRI_VERSION_TEXT_(ORVHDRI_VERSION_PATCH)

#define ORVHDRI_VERSION_TEXT_(number) ORVHDRI_VERSION_QUOTED_(number)
#define ORVHDRI_VERSION_QUOTED_(number) #number
