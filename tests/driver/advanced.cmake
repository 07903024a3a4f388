hypra_test(test_advanced
  SOURCES advanced_cli_test.cpp input_limits_test.cpp
  LIBS core parallel coarsen refine2 kway partition io driver)
add_dependencies(test_advanced hypra_advanced)
