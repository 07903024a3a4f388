hypra_test(test_advanced
  SOURCES advanced_cli_test.cpp advanced_script_test.cpp faults_test.cpp input_limits_test.cpp
          advanced_preset_test.cpp
  LIBS core parallel coarsen refine2 kway flow partition io driver)
add_dependencies(test_advanced hypra_advanced hypra_cli)
