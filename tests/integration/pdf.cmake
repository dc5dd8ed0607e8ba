add_library(mv_pdf_gen STATIC ${CMAKE_CURRENT_LIST_DIR}/pdf_gen.cpp ${CMAKE_CURRENT_LIST_DIR}/pdf_gen.h)
target_include_directories(mv_pdf_gen PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(mv_pdf_gen PUBLIC Qt6::Gui)
mv_test(test_qtpdf_viewer integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_qtpdf_viewer.cpp
        LIBS mv_pdf mv_sheet mv_pdf_gen Qt6::Test)
