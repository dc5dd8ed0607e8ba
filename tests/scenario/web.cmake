mv_test(test_web_hub scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_web_hub.cpp LIBS mv_web_logic mv_transport)
