# TVK_SANITIZE=address builds everything with ASan and UBSan,
# TVK_SANITIZE=thread with TSan.
if(TVK_SANITIZE STREQUAL "address")
    set(TVK_SAN_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
elseif(TVK_SANITIZE STREQUAL "thread")
    set(TVK_SAN_FLAGS -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT TVK_SANITIZE STREQUAL "")
    message(FATAL_ERROR "TVK_SANITIZE must be empty, 'address' or 'thread'")
endif()

if(TVK_SAN_FLAGS)
    add_compile_options(${TVK_SAN_FLAGS})
    add_link_options(${TVK_SAN_FLAGS})
    add_compile_definitions(TVK_SANITIZER_BUILD=1)
endif()
