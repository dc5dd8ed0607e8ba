mv_test(test_library scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_library.cpp LIBS mv_library mv_song_loading)
