mv_test(test_map_format unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_map_format.cpp LIBS mv_cursormap)
