# The .deb built, checked, installed, run and removed (root only).
add_test(NAME package_deb COMMAND ${CMAKE_CURRENT_LIST_DIR}/package_deb.sh ${PROJECT_BINARY_DIR}
                                  ${PROJECT_SOURCE_DIR})
set_tests_properties(package_deb PROPERTIES LABELS integration TIMEOUT 180 RUN_SERIAL TRUE
                     SKIP_RETURN_CODE 77)
