mv_test(test_cursor_timing integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_cursor_timing.cpp
        LIBS mv_transport mv_sheet mv_mpv mv_media_gen TIMEOUT 240)
