# Makes an import library for linkers that do not take the cross compiler's own: the exported C functions, and no C++
# names, which such a linker's compiler makes in other ways. Run with -D DEFINITIONS (what the linker wrote of all
# exports), MODULE (the DLL's name), OUTPUT (the .lib; the .def comes beside it) and DLLTOOL.
file(STRINGS ${DEFINITIONS} lines REGEX "^ *V_[A-Za-z0-9_]+ @")
if(NOT lines)
  message(FATAL_ERROR "${DEFINITIONS} has no exported functions")
endif()
string(REGEX REPLACE " *(V_[A-Za-z0-9_]+) @[^;]*" "\\1" names "${lines}")
list(SORT names)
list(JOIN names "\n    " names)
string(REGEX REPLACE "\\.lib$" ".def" definitions ${OUTPUT})
file(WRITE ${definitions} "LIBRARY ${MODULE}\nEXPORTS\n    ${names}\n")
execute_process(COMMAND ${DLLTOOL} -m i386:x86-64 -d ${definitions} -D ${MODULE} -l ${OUTPUT} COMMAND_ERROR_IS_FATAL ANY)
