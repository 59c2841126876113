# Sanitizers, coverage and fuzzing change code and link of everything in this build, so they are set for all folders at
# once.

set(CORVANE_INSTRUMENTATION_FLAGS "")
if(CORVANE_SANITIZE)
  list(APPEND CORVANE_INSTRUMENTATION_FLAGS -fsanitize=${CORVANE_SANITIZE} -fno-sanitize-recover=all
       -fno-omit-frame-pointer)
endif()
if(CORVANE_COVERAGE)
  list(APPEND CORVANE_INSTRUMENTATION_FLAGS --coverage)
endif()
add_compile_options(${CORVANE_INSTRUMENTATION_FLAGS})
add_link_options(${CORVANE_INSTRUMENTATION_FLAGS})

if(CORVANE_FUZZ AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "CORVANE_FUZZ needs clang: libFuzzer is part of it")
endif()

# Makes a target's code tell libFuzzer which ways it takes; other programs run it as it is.
function(corvane_guide_fuzzer target)
  if(CORVANE_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()
