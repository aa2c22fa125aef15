cmake_minimum_required(VERSION 3.25)

# Installs the build into a fresh prefix, then builds and runs C consumers
# against the installed tree only: the README's example through pkg-config,
# and a small program through the CMake package.
#
# -DBUILD_DIR -DSOURCE_DIR -DWORK_DIR -DC_COMPILER -DGENERATOR -DSAN_FLAGS

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        string(REPLACE ";" " " cmd "${ARGN}")
        message(FATAL_ERROR "failed (${rc}): ${cmd}\n${out}\n${err}")
    endif()
    set(run_output "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The library with its symlinks, the headers, pkg-config and CMake files.
file(GLOB_RECURSE real_files ${prefix}/*/libtarvolk_r.so.2.*)
file(GLOB_RECURSE soname_links ${prefix}/*/libtarvolk_r.so.2)
file(GLOB_RECURSE dev_links ${prefix}/*/libtarvolk_r.so)
file(GLOB_RECURSE pc_files ${prefix}/*/pkgconfig/tarvolk_r.pc)
file(GLOB_RECURSE cmake_files ${prefix}/*/tarvolk_rConfig.cmake)
foreach(var real_files soname_links dev_links pc_files cmake_files)
    list(LENGTH ${var} n)
    if(NOT n EQUAL 1)
        message(FATAL_ERROR "installed tree: expected one match for ${var}, got '${${var}}'")
    endif()
endforeach()
if(NOT IS_SYMLINK ${soname_links} OR NOT IS_SYMLINK ${dev_links})
    message(FATAL_ERROR "libtarvolk_r.so and libtarvolk_r.so.2 must be symbolic links")
endif()
if(NOT EXISTS ${prefix}/include/tarvolk/tarvolk.h)
    message(FATAL_ERROR "headers not installed")
endif()
get_filename_component(libdir ${soname_links} DIRECTORY)
get_filename_component(pcdir ${pc_files} DIRECTORY)

# libtvkcrypt.so.1 beside it, found through libtarvolk_r's RUNPATH; its
# header and a link-time name stay private.
if(NOT EXISTS ${libdir}/libtvkcrypt.so.1)
    message(FATAL_ERROR "libtvkcrypt.so.1 not installed beside libtarvolk_r")
endif()
file(GLOB_RECURSE private_files ${prefix}/*tvkcrypt.h ${prefix}/*/libtvkcrypt.so)
if(private_files)
    message(FATAL_ERROR "private parts of libtvkcrypt installed: ${private_files}")
endif()

# The README's example, taken from the README itself.
file(READ ${SOURCE_DIR}/README.md readme)
if(NOT readme MATCHES "<!-- example -->[^`]*```c\n(.*)```\n<!-- /example -->")
    message(FATAL_ERROR "README.md has no marked C example")
endif()
file(WRITE ${WORK_DIR}/readme_example.c "${CMAKE_MATCH_1}")

run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pcdir} pkg-config --cflags --libs tarvolk_r)
string(STRIP "${run_output}" pkg_flags)
separate_arguments(pkg_flags UNIX_COMMAND "${pkg_flags}")
separate_arguments(san_flags UNIX_COMMAND "${SAN_FLAGS}")
run(${C_COMPILER} -std=c11 -Wall -Wextra -Werror ${san_flags}
    ${WORK_DIR}/readme_example.c ${pkg_flags} -o ${WORK_DIR}/readme_example)

set(run_env
    LD_LIBRARY_PATH=${libdir}
    TARVOLKHOME=${BUILD_DIR}/home
    ZIMBRELHOME=${BUILD_DIR}/home/zimbrel
    LANG=C.UTF-8)
run(${CMAKE_COMMAND} -E env ${run_env} ${WORK_DIR}/readme_example)
if(NOT run_output MATCHES "^hello runs in .*/home: Timeout\n$")
    message(FATAL_ERROR "README example printed: '${run_output}'")
endif()

# A consumer through find_package.
set(consumer ${WORK_DIR}/cmake_consumer)
file(WRITE ${consumer}/CMakeLists.txt "cmake_minimum_required(VERSION 3.25)
project(consumer C)
find_package(tarvolk_r 2 REQUIRED)
add_executable(consumer consumer.c)
target_link_libraries(consumer PRIVATE tarvolk::tarvolk_r)
")
file(WRITE ${consumer}/consumer.c "#include <stdio.h>
#include <tarvolk/tarvolk.h>
int main(void)
{
    char buffer[8];
    NRC rc = NConstructPathWithLength(buffer, sizeof buffer, \"tar\", \"/\", \"volk\", (char *)0);
    printf(\"%s %d %s\\n\", buffer, (int)rc, NRCToString(NRC_SUCCESS));
    return 0;
}
")
run(${CMAKE_COMMAND} -S ${consumer} -B ${consumer}/build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${C_COMPILER}
    "-DCMAKE_C_FLAGS=${SAN_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${SAN_FLAGS}")
run(${CMAKE_COMMAND} --build ${consumer}/build)
run(${CMAKE_COMMAND} -E env ${run_env} ${consumer}/build/consumer)
if(NOT run_output STREQUAL "tar/vol -19 Unknown thread error\n")
    message(FATAL_ERROR "CMake consumer printed: '${run_output}'")
endif()
# Without LD_LIBRARY_PATH: the consumer's RUNPATH finds libtarvolk_r, whose
# own ($ORIGIN) finds libtvkcrypt.
list(FILTER run_env EXCLUDE REGEX "^LD_LIBRARY_PATH=")
run(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${run_env} ${consumer}/build/consumer)
message(STATUS "installed tree consumed through pkg-config and CMake")
