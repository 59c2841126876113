# Compares the .cpp files below FOLDER with the list in the file REGISTERED; run with cmake -P.
file(GLOB_RECURSE files "${FOLDER}/*.cpp")
list(FILTER files EXCLUDE REGEX "/install/consumer/")  # built by the install test, as a project of its own
file(STRINGS "${REGISTERED}" registered)
list(REMOVE_ITEM files ${registered})
if(files)
  list(JOIN files "\n  " files)
  message(FATAL_ERROR "no target builds these test files; add them to the CMakeLists.txt of their folder:\n  ${files}")
endif()
