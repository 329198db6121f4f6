# Turns the linker's export list ("Name = Name@8 @1") back into decorated entries ("Name@8 @1")
# so that dlltool -k builds an import library whose symbols match __stdcall declarations.
file(READ ${IN} text)
string(REGEX REPLACE "([A-Za-z_][A-Za-z0-9_]*) = ([A-Za-z_][A-Za-z0-9_]*)(@[0-9]+)" "\\2\\3" text "${text}")
file(WRITE ${OUT} "${text}")
