mv_test(test_align_progress scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_align_progress.cpp LIBS mv_align mv_cursormap)
