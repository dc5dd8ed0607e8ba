mv_test(test_song_list unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_song_list.cpp LIBS mv_library)
