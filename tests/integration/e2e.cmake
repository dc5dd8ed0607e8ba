# The real binary under Xvfb: mv_e2e(<script name> <timeout in s>).
function(mv_e2e name timeout)
  add_test(NAME e2e_${name}
           COMMAND ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/e2e/${name}.sh $<TARGET_FILE:mellivane>)
  set_tests_properties(e2e_${name} PROPERTIES LABELS integration TIMEOUT ${timeout} RUN_SERIAL TRUE
                       SKIP_RETURN_CODE 77)
endfunction()
mv_e2e(sheet_play 60)
mv_e2e(demo_road 90)
mv_e2e(driver_verbs 60)
mv_e2e(first_start 90)
mv_e2e(sync_two_programs 150)
mv_e2e(library_driver 60)
mv_e2e(two_screens 120)
mv_e2e(no_libmpv 60)
mv_e2e(mpris_playerctl 90)
mv_e2e(wayland_weston 90)
mv_e2e(real_keys 120)
mv_e2e(window_places 90)
mv_e2e(tighten_demo 150)
mv_e2e(transfer_map 240)
mv_e2e(record_close 60)
mv_e2e(edit_undo_wave 120)
mv_e2e(quit_signals 90)
mv_e2e(output_delay 90)
mv_e2e(web_follower 240)
# The windows on a laptop's screen; the screenshots stay in build/screens.
add_test(NAME e2e_window_fit COMMAND ${CMAKE_CURRENT_LIST_DIR}/e2e/window_fit.sh
                                     $<TARGET_FILE:mellivane> ${CMAKE_BINARY_DIR}/screens)
set_tests_properties(e2e_window_fit PROPERTIES LABELS integration TIMEOUT 120 RUN_SERIAL TRUE
                     SKIP_RETURN_CODE 77)
