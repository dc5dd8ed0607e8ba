mv_test(test_demo_maps unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_demo_maps.cpp LIBS mv_core Qt6::Pdf)
