# Export names of __stdcall functions per architecture. The sources list each plain function
# under its 32-bit decorated name (Name@ArgumentBytes). A 32-bit build exports it undecorated
# through --kill-at and keeps the decorated form for its import library; x64 has one calling
# convention and no decoration, so a 64-bit build lists the plain name.

# setupcls_export_entry(<out var> <decorated entry, "Name@8" or "Name@8 @101 NONAME">)
function(setupcls_export_entry out entry)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    string(REGEX REPLACE "([A-Za-z_][A-Za-z0-9_]*)@[0-9]+" "\\1" entry "${entry}")
  endif()
  set(${out} "${entry}" PARENT_SCOPE)
endfunction()

# setupcls_configure_def(<decorated .def> <output .def>): a module-definition file for this
# architecture.
function(setupcls_configure_def in out)
  file(STRINGS ${in} lines)
  set(text "")
  foreach(line IN LISTS lines)
    setupcls_export_entry(line "${line}")
    string(APPEND text "${line}\n")
  endforeach()
  file(CONFIGURE OUTPUT ${out} CONTENT "${text}")
endfunction()
