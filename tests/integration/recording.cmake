# The real binary under Xvfb, killed with SIGKILL in a recording and in the
# table writes of edit mode; a recorder process killed many times.
add_executable(test_recording_kill ${CMAKE_CURRENT_LIST_DIR}/test_recording_kill.cpp)
# The record stream alone, in a process of its own that the test kills.
add_executable(record_writer ${CMAKE_CURRENT_LIST_DIR}/record_writer.cpp)
target_link_libraries(record_writer PRIVATE mv_cursormap mv_core)
target_link_libraries(test_recording_kill PRIVATE GTest::gtest Qt6::Core)
add_test(NAME test_recording_kill
         COMMAND xvfb-run -a -s "-screen 0 1600x1400x24" $<TARGET_FILE:test_recording_kill>
                 $<TARGET_FILE:mellivane> $<TARGET_FILE:record_writer>)
set_tests_properties(test_recording_kill PROPERTIES LABELS integration TIMEOUT 240 RUN_SERIAL TRUE
                     ENVIRONMENT "MELLIVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
mv_e2e(record_demo 180)
target_include_directories(test_recording_kill PRIVATE ${PROJECT_SOURCE_DIR}/tests/support
                           ${PROJECT_SOURCE_DIR}/src)
