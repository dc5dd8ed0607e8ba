mv_test(test_web_server integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_web_server.cpp
        LIBS mv_web mv_pdf_gen Qt6::Test TIMEOUT 120)
