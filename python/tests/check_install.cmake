# Installs the build into a scratch prefix and imports the package from there, the way the README
# says: PYTHONPATH=<prefix>/<PACKAGE_DIR>. The stubs and the py.typed marker must be installed too.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                OUTPUT_QUIET RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed")
endif()
set(package ${WORK_DIR}/prefix/${PACKAGE_DIR})
foreach(file __init__.py __init__.pyi laws.py laws.pyi py.typed _errors.py)
  if(NOT EXISTS ${package}/tessora1d/${file})
    message(FATAL_ERROR "not installed: ${package}/tessora1d/${file}")
  endif()
endforeach()
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${package} PYTHONDONTWRITEBYTECODE=1
          ${PYTHON} -c "import tessora1d, sys; assert tessora1d.__file__.startswith(sys.argv[1]), tessora1d.__file__; print(tessora1d.version(), tessora1d.mesh_curve([[0, 0], [1, 0]], size=0.25).shape)" ${package}
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "import from ${package} failed: ${out}${err}")
endif()
message(STATUS "${out}")
