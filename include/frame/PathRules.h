// The trailing back-slash rules of directory paths: every directory path the library keeps ends
// in exactly one back-slash unless it is empty. A 0x5C byte that is the trail byte of a
// double-byte character is never taken for a back-slash.
#pragma once

#include "CString.h"

// Removes every trailing back-slash; returns the new length.
SETUPCLS_API int TrimTailBackSlash(CString& path);

// Trims, then appends one back-slash unless the result is empty; returns the final length. An
// empty path, or one made only of back-slashes, ends empty: no lone back-slash is produced.
SETUPCLS_API int AppendBackSlash(CString& path);

// True when the byte at position index of text is a back-slash of its own, not the trail byte
// of a double-byte character. The folder operations and the path helpers share this rule.
SETUPCLS_API bool IsRealBackSlash(const char* text, int index);
