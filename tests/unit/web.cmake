mv_test(test_web_protocol unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_web_protocol.cpp
        LIBS mv_web)
