# The real binary under Xvfb.
add_test(NAME e2e_sheet_play
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/sheet_play.sh $<TARGET_FILE:mellivane>)
set_tests_properties(e2e_sheet_play PROPERTIES LABELS integration TIMEOUT 60 RUN_SERIAL TRUE)
add_test(NAME e2e_demo_road
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/demo_road.sh $<TARGET_FILE:mellivane>)
set_tests_properties(e2e_demo_road PROPERTIES LABELS integration TIMEOUT 90 RUN_SERIAL TRUE)
add_test(NAME e2e_driver_verbs
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/driver_verbs.sh $<TARGET_FILE:mellivane>)
set_tests_properties(e2e_driver_verbs PROPERTIES LABELS integration TIMEOUT 60 RUN_SERIAL TRUE)
add_test(NAME e2e_first_start
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/first_start.sh $<TARGET_FILE:mellivane>)
set_tests_properties(e2e_first_start PROPERTIES LABELS integration TIMEOUT 90 RUN_SERIAL TRUE)
add_test(NAME e2e_sync_two_programs
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/sync_two_programs.sh $<TARGET_FILE:mellivane>)
set_tests_properties(e2e_sync_two_programs PROPERTIES LABELS integration TIMEOUT 150 RUN_SERIAL TRUE)
add_test(NAME e2e_two_screens
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/two_screens.sh $<TARGET_FILE:mellivane>)
set_tests_properties(e2e_two_screens PROPERTIES LABELS integration TIMEOUT 120 RUN_SERIAL TRUE)
