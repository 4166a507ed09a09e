# Run by ctest: one test, in a process of its own, for each suite of a program.
# Wants PROGRAM, the program's path, and FOLDER, the first part of the tests' names.
execute_process(COMMAND ${PROGRAM} --gtest_list_tests OUTPUT_VARIABLE listing RESULT_VARIABLE status)
# A suite stands at the start of its line and ends in a dot; its tests are indented.
string(REGEX MATCHALL "(^|\n)[^ \n]+\\." suites "${listing}")
if(NOT status EQUAL 0 OR NOT suites)
  # Fails as the program does, and says why.
  add_test(${FOLDER} ${PROGRAM})
endif()
foreach(suite ${suites})
  string(STRIP "${suite}" suite)
  string(REGEX REPLACE "\\.$" "" suite "${suite}")
  add_test(${FOLDER}.${suite} ${PROGRAM} --gtest_filter=${suite}.* --gtest_brief=1)
  set_tests_properties(${FOLDER}.${suite} PROPERTIES TIMEOUT 600)
endforeach()
