# Warnings are errors everywhere in this project.
set(TVK_COMMON_WARNINGS
    -Wall -Wextra -Wpedantic -Werror
    -Wshadow -Wformat=2 -Wundef -Wvla -Wcast-align
    -Wmissing-declarations -Wnull-dereference -Wdouble-promotion)
set(TVK_C_WARNINGS ${TVK_COMMON_WARNINGS} -Wstrict-prototypes -Wmissing-prototypes)
set(TVK_CXX_WARNINGS ${TVK_COMMON_WARNINGS} -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual)

# Applies the project's warning set to a target.
function(tvk_warnings target)
    target_compile_options(${target} PRIVATE
        $<$<COMPILE_LANGUAGE:C>:${TVK_C_WARNINGS}>
        $<$<COMPILE_LANGUAGE:CXX>:${TVK_CXX_WARNINGS}>)
endfunction()
