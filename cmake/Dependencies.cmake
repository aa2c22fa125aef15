find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n icu-io)
pkg_check_modules(TRE REQUIRED IMPORTED_TARGET tre)

if(TVK_BUILD_TESTS)
    find_package(GTest REQUIRED)
endif()
if(TVK_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
