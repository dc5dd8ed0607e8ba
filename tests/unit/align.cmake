mv_test(test_align unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_align.cpp LIBS mv_align)
