# How the library's folders hand in their files. Every file is named: nothing is picked up because it happens to lie
# there.

# corvane_add_files(SOURCES file.cpp... PUBLIC_HEADERS file.h... PRIVATE_HEADERS file.h...)
#
# Names are relative to the calling folder. Public headers are installed; private ones are not. All of them are compiled
# alone by the test headers.alone.
function(corvane_add_files)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "SOURCES;PUBLIC_HEADERS;PRIVATE_HEADERS")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "corvane_add_files: which list do these belong to? ${arg_UNPARSED_ARGUMENTS}")
  endif()
  foreach(file ${arg_SOURCES} ${arg_PUBLIC_HEADERS} ${arg_PRIVATE_HEADERS})
    if(NOT EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
      message(SEND_ERROR "listed but missing: ${CMAKE_CURRENT_SOURCE_DIR}/${file}")
    endif()
  endforeach()
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" OUTPUT_VARIABLE folder)
  list(TRANSFORM arg_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  target_sources(corvane_objects PRIVATE ${arg_SOURCES})
  list(TRANSFORM arg_PUBLIC_HEADERS PREPEND "${folder}/")
  list(TRANSFORM arg_PRIVATE_HEADERS PREPEND "${folder}/")
  set_property(GLOBAL APPEND PROPERTY CORVANE_PUBLIC_HEADERS ${arg_PUBLIC_HEADERS})
  set_property(GLOBAL APPEND PROPERTY CORVANE_PRIVATE_HEADERS ${arg_PRIVATE_HEADERS})
endfunction()

# Headers are found from the repository root only; a program's own model stands before it.
function(corvane_use_include_root target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(
    ${target}
    PUBLIC "$<BUILD_INTERFACE:${CORVANE_MODEL_DIR}>" "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>"
           "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/corvane>")
endfunction()

# Sets `result` to our headers that a program's own model includes, directly or through others.
function(corvane_find_used_headers result)
  file(GLOB todo RELATIVE "${CORVANE_MODEL_DIR}" "${CORVANE_MODEL_DIR}/model/*.h")
  list(APPEND todo facade/ModelAccess.h)
  set(seen "")
  set(used "")
  while(todo)
    list(POP_FRONT todo header)
    if(header IN_LIST seen)
      continue()
    endif()
    list(APPEND seen "${header}")
    set(file "${CORVANE_MODEL_DIR}/${header}")
    if(NOT EXISTS "${file}")
      set(file "${PROJECT_SOURCE_DIR}/${header}")
      list(APPEND used "${header}")
    endif()
    if(EXISTS "${file}")
      file(STRINGS "${file}" lines REGEX "^#include \"(model|facade)/")
      list(TRANSFORM lines REPLACE "^#include \"([^\"]+)\".*" "\\1")
      list(APPEND todo ${lines})
    endif()
  endwhile()
  set(${result} "${used}" PARENT_SCOPE)
endfunction()

# A library of one empty source per header: it builds when each header stands alone.
function(corvane_add_headers_alone target)
  get_property(headers GLOBAL PROPERTY CORVANE_PUBLIC_HEADERS)
  get_property(private_headers GLOBAL PROPERTY CORVANE_PRIVATE_HEADERS)
  foreach(header ${headers} ${private_headers})
    set(source "${CMAKE_CURRENT_BINARY_DIR}/headers/${header}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"@header@\"\n" @ONLY)
    list(APPEND sources "${source}")
  endforeach()
  add_library(${target} OBJECT EXCLUDE_FROM_ALL ${sources})
  corvane_use_include_root(${target})
  corvane_enable_warnings(${target})
  target_compile_options(${target} PRIVATE -O0 -g0)
endfunction()
