# Flags live on interface targets; nothing here is global but the position of the outputs.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_CXX_EXTENSIONS OFF)

# Every target of ours.
add_library(orvhdri_flags INTERFACE)
add_library(orvhdri::flags ALIAS orvhdri_flags)
target_compile_features(orvhdri_flags INTERFACE cxx_std_20)
target_compile_options(orvhdri_flags INTERFACE -ffp-contract=off
  $<$<BOOL:${ORVHDRI_DEV}>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror>)
if(ORVHDRI_SANITIZE)
  # Instrumented code makes g++ warn of variables that are set on every path.
  target_compile_options(orvhdri_flags INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized> -fsanitize=${ORVHDRI_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(orvhdri_flags INTERFACE -fsanitize=${ORVHDRI_SANITIZE})
endif()
if(ORVHDRI_FUZZ)
  # What a fuzz target links tells it which code an input has reached.
  target_compile_options(orvhdri_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The painter's kernels: eight lanes, fused steps only where they are written.
add_library(orvhdri_kernel_flags INTERFACE)
add_library(orvhdri::kernel_flags ALIAS orvhdri_kernel_flags)
target_compile_options(orvhdri_kernel_flags INTERFACE -mavx2 -mfma -ffp-contract=off)
target_link_libraries(orvhdri_kernel_flags INTERFACE orvhdri_flags)
