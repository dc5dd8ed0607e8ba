mv_test(test_sync_loopback integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_sync_loopback.cpp
        LIBS mv_qtsocket mv_song_loading mv_sheet TIMEOUT 90)
