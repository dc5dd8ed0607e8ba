# Every window in each of its states fits the screen and shows its captions
# whole, on a laptop's screen and on a full HD one (offscreen screens of
# those sizes).
add_executable(test_window_fit ${CMAKE_CURRENT_LIST_DIR}/test_window_fit.cpp)
target_link_libraries(test_window_fit PRIVATE mv_test_support mv_app mv_align mv_sheet mv_recording
                      mv_song_loading Qt6::Test)
foreach(_screen 1366x768 1920x1080)
  add_test(NAME test_window_fit_${_screen} COMMAND test_window_fit)
  set_tests_properties(test_window_fit_${_screen} PROPERTIES LABELS scenario TIMEOUT 120
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen:configfile=${CMAKE_CURRENT_LIST_DIR}/screens/${_screen}.json;QT_NO_GLIB=1")
endforeach()
