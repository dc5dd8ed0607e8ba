add_executable(play_timing ${CMAKE_CURRENT_LIST_DIR}/play_timing.cpp)
target_link_libraries(play_timing PRIVATE mv_cursormap mv_test_support)
add_executable(cursor_music ${CMAKE_CURRENT_LIST_DIR}/cursor_music.cpp)
target_link_libraries(cursor_music PRIVATE mv_transport mv_sheet mv_mpv mv_media_gen mv_test_support)
