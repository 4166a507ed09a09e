#pragma once

extern "C" {

/// Writes one line to the host's error log. `format` is printf-style and ends in a newline. Thread-safe.
[[gnu::format(printf, 1, 2)]] void orv_critical(const char* format, ...);

}  // extern "C"
