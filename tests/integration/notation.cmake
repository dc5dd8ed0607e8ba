# The X11 notation driver over xdotool, under Xvfb with openbox, driving a
# stand-in viewer of the test's own.
add_executable(stand_in_viewer ${CMAKE_CURRENT_LIST_DIR}/standin/stand_in_viewer.cpp)
target_link_libraries(stand_in_viewer PRIVATE Qt6::Widgets)
add_executable(test_notation_x11 ${CMAKE_CURRENT_LIST_DIR}/test_notation_x11.cpp)
target_link_libraries(test_notation_x11 PRIVATE mv_test_support mv_xdotool mv_notation
                      mv_song_loading)
add_test(NAME test_notation_x11
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/with_openbox.sh $<TARGET_FILE:test_notation_x11>)
set_tests_properties(test_notation_x11 PROPERTIES LABELS integration TIMEOUT 90 RUN_SERIAL TRUE
                     ENVIRONMENT "QT_NO_GLIB=1;MV_STANDIN=$<TARGET_FILE:stand_in_viewer>")
add_test(NAME e2e_notation_help
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/notation_help.sh $<TARGET_FILE:mellivane>)
set_tests_properties(e2e_notation_help PROPERTIES LABELS integration TIMEOUT 90 RUN_SERIAL TRUE)
