# Checks the shared library's file name and SONAME, and that its exported
# symbols are exactly the public interface: every exported symbol belongs to
# one of the library's families and is declared with NAPI in a public
# header, nothing of C++ (such as _Z...) leaks out, and every NAPI
# declaration is exported. The same checks serve libtvkcrypt, with its own
# name, export macro, families and version node.
#
cmake_minimum_required(VERSION 3.25)

# -DLIBRARY=path of the real file -DHEADERS=include/tarvolk -DSONAME=...
# Optional, for another library: -DSTEM=libtvkcrypt -DMACRO=TVKCRYPT_API
# -DFAMILIES=regex -DVERSION_NODE=LIBTVKCRYPT_1 -DMIN_EXPORTS=n
# -DNEEDED=soname (a DT_NEEDED entry the library must have)
if(NOT DEFINED STEM)
    set(STEM libtarvolk_r)
endif()
if(NOT DEFINED MACRO)
    set(MACRO NAPI)
endif()
if(NOT DEFINED VERSION_NODE)
    set(VERSION_NODE LIBTARVOLK_R_2)
endif()
if(NOT DEFINED MIN_EXPORTS)
    set(MIN_EXPORTS 50)
endif()

get_filename_component(real_name ${LIBRARY} NAME)
if(NOT real_name MATCHES "^${STEM}\\.so\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
    message(FATAL_ERROR "real file name '${real_name}' lacks a full version")
endif()

execute_process(COMMAND readelf -d ${LIBRARY} OUTPUT_VARIABLE dynamic RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "readelf failed")
endif()
if(NOT dynamic MATCHES "Library soname: \\[([^]]*)\\]")
    message(FATAL_ERROR "no SONAME")
endif()
if(NOT CMAKE_MATCH_1 STREQUAL SONAME)
    message(FATAL_ERROR "SONAME is '${CMAKE_MATCH_1}', expected '${SONAME}'")
endif()
if(DEFINED NEEDED AND NOT dynamic MATCHES "\\(NEEDED\\)[^\n]*\\[${NEEDED}\\]")
    message(FATAL_ERROR "no DT_NEEDED entry for ${NEEDED}")
endif()

execute_process(COMMAND nm -D --defined-only ${LIBRARY} OUTPUT_VARIABLE nm_out RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "nm failed")
endif()
string(REGEX MATCHALL "[^\n]+" nm_lines "${nm_out}")
set(exported)
foreach(line ${nm_lines})
    if(line MATCHES "^[0-9a-f]* *[A-Za-z] ([^@ ]+)")
        list(APPEND exported ${CMAKE_MATCH_1})
    endif()
endforeach()
list(REMOVE_ITEM exported ${VERSION_NODE})

# Declarations of the public headers.
file(GLOB headers ${HEADERS}/*.h)
set(declared)
foreach(header ${headers})
    file(READ ${header} text)
    # Semicolons and brackets would upset CMake lists.
    string(REPLACE ";" "@" text "${text}")
    string(REPLACE "[" "(" text "${text}")
    string(REGEX MATCHALL "(^|\n|extern )${MACRO} [^@(]*[ *]+[A-Za-z_][A-Za-z0-9_]*[ ]*[(@]" decls "${text}")
    foreach(decl ${decls})
        if(decl MATCHES "([A-Za-z_][A-Za-z0-9_]*)[ ]*[(@]$")
            list(APPEND declared ${CMAKE_MATCH_1})
        endif()
    endforeach()
endforeach()
list(REMOVE_DUPLICATES declared)

if(DEFINED FAMILIES)
    set(family_regex "${FAMILIES}")
else()
    set(family_regex
    "^(N[A-Z][A-Za-z0-9_]*|n_[A-Za-z0-9_]+|nb_[a-z0-9_]+|_n_[A-Za-z0-9_]+|_N[A-Z][A-Za-z0-9_]*|libtarvolk_[a-z0-9_]+|_mq_[a-z_]+|request_pipe|request_pid|utf8enabled_isenabled|astr[A-Za-z0-9_]*|v?sizef|strcasestr)$")
endif()

set(errors)
foreach(symbol ${exported})
    if(symbol MATCHES "^_Z")
        list(APPEND errors "C++ symbol exported: ${symbol}")
    elseif(NOT symbol MATCHES "${family_regex}")
        list(APPEND errors "symbol outside the library's families: ${symbol}")
    elseif(NOT symbol IN_LIST declared)
        list(APPEND errors "exported but not declared in a public header: ${symbol}")
    endif()
endforeach()
foreach(symbol ${declared})
    if(NOT symbol IN_LIST exported)
        list(APPEND errors "declared with ${MACRO} but not exported: ${symbol}")
    endif()
endforeach()

list(LENGTH exported n_exported)
if(n_exported LESS MIN_EXPORTS)
    list(APPEND errors "only ${n_exported} symbols exported")
endif()
if(errors)
    list(JOIN errors "\n  " text)
    message(FATAL_ERROR "symbol check failed:\n  ${text}")
endif()
message(STATUS "${n_exported} exported symbols, SONAME ${SONAME}")
