mv_test(test_transport scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_transport.cpp
        LIBS mv_transport mv_sheet mv_startup)
