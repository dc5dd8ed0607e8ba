mv_test(test_song_loading scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_song_loading.cpp
        LIBS mv_song_loading mv_sheet mv_app Qt6::Test)
