add_executable(record_timing ${CMAKE_CURRENT_LIST_DIR}/record_timing.cpp)
target_link_libraries(record_timing PRIVATE mv_recording mv_sheet mv_test_support)
add_executable(edit_table ${CMAKE_CURRENT_LIST_DIR}/edit_table.cpp)
target_link_libraries(edit_table PRIVATE mv_align mv_recording mv_sheet mv_pdf mv_pdf_gen mv_test_support
                      PkgConfig::BENCH_SNDFILE)
target_compile_definitions(edit_table PRIVATE MELLIVANE_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
