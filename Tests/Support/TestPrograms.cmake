# How test programs are made, for the folders of tests.
include(GoogleTest)

# Every test reads these first, and most of the time that its compilation takes goes into them.
function(brindle_read_test_headers_once name)
    target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h> <filesystem> <functional>)
endfunction()

# A test program that needs no desktop, from the sources of the folder that calls this: every test in it
# becomes a test of its own in CTest.
function(brindle_add_plain_tests name)
    cmake_parse_arguments(arg "" "" "LIBRARIES" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} BrindleTestSupport GTest::gmock GTest::gtest_main)
    target_compile_definitions(${name} PRIVATE BRINDLE_FIXTURES="${CMAKE_CURRENT_SOURCE_DIR}/Fixtures")
    brindle_read_test_headers_once(${name})
    gtest_discover_tests(${name} PROPERTIES TIMEOUT 300 DISCOVERY_TIMEOUT 60)
endfunction()
