mv_test(test_sheet_views scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_sheet_views.cpp
        LIBS mv_sheet mv_recording mv_song_loading Qt6::Test)
