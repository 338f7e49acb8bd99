# What programs of ours find under Wine: a machine of their own in the build folder, and the region of those who use
# them, so that the ANSI code page is 936.
set(wine_environment WINEPREFIX=${PROJECT_BINARY_DIR}/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml,winedbg.exe=)

set(locale ${PROJECT_BINARY_DIR}/locale/zh_CN.UTF-8)
find_program(QMTRAIN_LOCALEDEF localedef)
if(QMTRAIN_LOCALEDEF AND NOT EXISTS ${locale})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/locale)
  execute_process(COMMAND ${QMTRAIN_LOCALEDEF} -i zh_CN -f UTF-8 ${locale} ERROR_QUIET)
endif()
if(EXISTS ${locale})
  list(APPEND wine_environment LOCPATH=${PROJECT_BINARY_DIR}/locale LC_ALL=zh_CN.UTF-8)
endif()

# What stands before a test that uses Wine, and before a program of ours that is a test.
set(end_alone)
set(run_windows)
if(CMAKE_CROSSCOMPILING_EMULATOR)
  set(end_alone ${CMAKE_CURRENT_LIST_DIR}/end_alone)
  set(run_windows ${end_alone} ${CMAKE_CROSSCOMPILING_EMULATOR})
  add_test(NAME wine COMMAND ${run_windows} wineboot --init)
  set_tests_properties(wine PROPERTIES FIXTURES_SETUP wine TIMEOUT 600 ENVIRONMENT "${wine_environment}")
endif()
