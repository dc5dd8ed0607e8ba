# The map operations of the real binary on a demo song and a second rendition of it.
add_executable(test_align_cli ${CMAKE_CURRENT_LIST_DIR}/test_align_cli.cpp)
target_link_libraries(test_align_cli PRIVATE GTest::gtest Qt6::Core mv_align)
target_include_directories(test_align_cli PRIVATE ${PROJECT_SOURCE_DIR}/src)
add_test(NAME test_align_cli COMMAND test_align_cli $<TARGET_FILE:mellivane>)
set_tests_properties(test_align_cli PROPERTIES LABELS integration TIMEOUT 240
                     ENVIRONMENT "MELLIVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
