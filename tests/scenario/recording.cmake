mv_test(test_recording scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_recording.cpp
        LIBS mv_align mv_recording mv_sheet Qt6::Test)
mv_test(test_record_stream scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_record_stream.cpp
        LIBS mv_recording mv_sheet mv_song_loading mv_library mv_fake_net mv_sync)
