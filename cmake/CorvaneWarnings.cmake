# The warnings that our own code compiles without, with GCC and clang; errors when CORVANE_WERROR is set.
function(corvane_enable_warnings target)
  target_compile_options(
    ${target}
    PRIVATE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wsign-conversion
            -Wold-style-cast
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            $<$<BOOL:${CORVANE_WERROR}>:-Werror>)
endfunction()
