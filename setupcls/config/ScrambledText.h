// The text form of scrambled bytes for a caller that names the size of its own text buffer.
// DVSET_ZOREncrypt_NUMSTR is this with its fixed DVSET_NUMSTR_TEXT_SIZE; the answer file stores
// passwords through it with its larger buffer. Internal to the library.
#pragma once

#include <windows.h>

namespace scramble {

// Scrambles inLength bytes and writes them into text (textSize bytes) as two lower-case
// hexadecimal digits a byte. On success *textLength is the number of characters, followed by a
// terminating zero when there is room; a result longer than textSize characters is
// ERROR_INSUFFICIENT_BUFFER. *textLength is set to textSize first; otherwise as
// DVSET_ZOREncrypt_NUMSTR.
int ToText(const BYTE* inData, DWORD inLength, char* text, DWORD textSize, DWORD* textLength);

}  // namespace scramble
