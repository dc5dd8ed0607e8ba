add_library(mv_pdf STATIC ${CMAKE_CURRENT_LIST_DIR}/qtpdf_viewer.cpp ${CMAKE_CURRENT_LIST_DIR}/qtpdf_viewer.h
            ${CMAKE_CURRENT_LIST_DIR}/pdf_render_worker.cpp ${CMAKE_CURRENT_LIST_DIR}/pdf_render_worker.h)
target_link_libraries(mv_pdf PUBLIC mv_core Qt6::Widgets Qt6::Pdf)
