add_executable(play_timing ${CMAKE_CURRENT_LIST_DIR}/play_timing.cpp)
target_link_libraries(play_timing PRIVATE mv_cursormap mv_test_support)
