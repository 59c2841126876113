# Tests of the tree itself.

add_test(NAME layers.tree COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/check_layers.py")
add_test(NAME layers.self_test COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/check_layers.py" --self-test)

# Every header compiles by itself. What sanitizers or line counts add tells nothing about that.
if(NOT CORVANE_SANITIZE AND NOT CORVANE_COVERAGE)
  corvane_add_headers_alone(corvane_headers_alone)
  add_test(NAME headers.alone COMMAND "${CMAKE_COMMAND}" --build "${CMAKE_BINARY_DIR}" --target corvane_headers_alone)
  set_tests_properties(headers.alone PROPERTIES TIMEOUT 600)
endif()

# Every test source belongs to a target of this build. The sources of all targets are written down now and compared with
# the files when the test runs.
function(collect_sources folder result)
  get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
  get_property(folders DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
  set(found "")
  foreach(target ${targets})
    get_target_property(sources ${target} SOURCES)
    get_target_property(base ${target} SOURCE_DIR)
    foreach(source ${sources})
      cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY "${base}" NORMALIZE)
      list(APPEND found "${source}")
    endforeach()
  endforeach()
  foreach(inner ${folders})
    collect_sources("${inner}" inner_found)
    list(APPEND found ${inner_found})
  endforeach()
  set(${result} "${found}" PARENT_SCOPE)
endfunction()

if(CORVANE_BUILD_TOOLS)
  collect_sources("${CMAKE_CURRENT_SOURCE_DIR}" registered)
  list(JOIN registered "\n" registered)
  file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/registered.txt" "${registered}\n")
  add_test(NAME tests.registered
           COMMAND "${CMAKE_COMMAND}" "-DFOLDER=${CMAKE_CURRENT_SOURCE_DIR}"
                   "-DREGISTERED=${CMAKE_CURRENT_BINARY_DIR}/registered.txt" -P
                   "${CMAKE_CURRENT_SOURCE_DIR}/check_registered.cmake")
endif()
