# Installs the built tree into a scratch prefix, checks that the package holds the shared library,
# its headers and its CMake configuration and nothing else (no internal archive, no LAPACK lookup),
# then configures, builds and runs a small program and the README's example program, which find the
# package the way a user's project does.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed")
endif()

# What a consumer of libvx4tessora1d.so may find in the prefix.
set(allowed
  "^include/vx4/(math1|tessora1d[a-z0-9_]*)\\.h$"
  "^lib[a-z0-9_]*/libvx4tessora1d\\.so(\\.[0-9]+)*$"
  "^lib[a-z0-9_]*/cmake/vx4tessora1d/vx4tessora1d(Config|ConfigVersion|Targets|Targets-[a-z]+)\\.cmake$"
  # the Python package, in builds that make it
  "^lib/python3\\.[0-9]+/dist-packages/tessora1d/(_core[^/]*\\.so|__init__\\.pyi?|laws\\.pyi?|_errors\\.py|py\\.typed)$")
file(GLOB_RECURSE installed RELATIVE ${WORK_DIR}/prefix ${WORK_DIR}/prefix/*)
set(found_library FALSE)
foreach(path IN LISTS installed)
  set(ok FALSE)
  foreach(pattern IN LISTS allowed)
    if(path MATCHES "${pattern}")
      set(ok TRUE)
    endif()
  endforeach()
  if(NOT ok)
    message(FATAL_ERROR "unexpected installed file: ${path}")
  endif()
  if(path MATCHES "libvx4tessora1d\\.so$")
    set(found_library TRUE)
  endif()
endforeach()
if(NOT found_library)
  message(FATAL_ERROR "libvx4tessora1d.so was not installed")
endif()
file(GLOB package_files ${WORK_DIR}/prefix/lib*/cmake/vx4tessora1d/*.cmake)
foreach(file IN LISTS package_files)
  file(READ ${file} text)
  if(file MATCHES "Config\\.cmake$" AND text MATCHES "find_dependency|find_package\\(")
    message(FATAL_ERROR "${file} looks up a dependency")
  endif()
  if(file MATCHES "Targets" AND text MATCHES "LAPACK|lapack|vx4tessora[^1]|metric_algebra")
    message(FATAL_ERROR "${file} names an internal library or LAPACK")
  endif()
endforeach()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DCMAKE_BUILD_TYPE=${BUILD_TYPE}
                        -DREADME_EXAMPLE=${README_EXAMPLE}
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "consumer configure failed:\n${out}\n${err}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc OUTPUT_VARIABLE out
                ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "consumer build failed:\n${out}\n${err}")
endif()
foreach(program consumer readme_example)
  execute_process(COMMAND ${WORK_DIR}/build/${program} RESULT_VARIABLE rc OUTPUT_VARIABLE out)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${program} run failed: ${out}")
  endif()
endforeach()
message(STATUS "consumer and README example built and ran against the installed package")
