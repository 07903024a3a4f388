# Installs the python component into a scratch DESTDIR and imports the package from there.
#   cmake -DBUILD_DIR=build -DPYTHON=python3 -DINSTALL_DIR=site-packages -P install_check.cmake
string(RANDOM LENGTH 8 suffix)
set(stage "${BUILD_DIR}/python-install-check-${suffix}")
file(REMOVE_RECURSE "${stage}")
execute_process(COMMAND ${CMAKE_COMMAND} -E env DESTDIR=${stage}
                        ${CMAKE_COMMAND} --install ${BUILD_DIR} --component python
                RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  file(REMOVE_RECURSE "${stage}")
  message(FATAL_ERROR "cmake --install --component python failed")
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${stage}${INSTALL_DIR} PYTHONDONTWRITEBYTECODE=1
          ${PYTHON} -c "import hypra; print(hypra.__file__); print(hypra.__version__); print(hypra.partition(hypra.Hypergraph([[0, 1, 2], [3, 4, 5], [2, 3]]), 2, seed=1).cut)"
  # Not in the build folder, whose hypra/ the interpreter would find first.
  WORKING_DIRECTORY ${stage}
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
file(REMOVE_RECURSE "${stage}")
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the installed package does not import: ${err}")
endif()
string(FIND "${out}" "${stage}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "the package imported from elsewhere than the installed copy: ${out}")
endif()
message(STATUS "installed package: ${out}")
