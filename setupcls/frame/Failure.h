// How the library reports a failure: one idiom for every area.
//
// Inside the library, a function that can fail answers the status it got: a Win32 status
// (ERROR_SUCCESS on success) or an HRESULT. A failure that the trace file must show is written
// by the SETUPCLS_TRACE_FAILURE family, always in one shape:
//
//     <TAB><what failed> failed (<status>) in <function>
//
// where <what failed> names the Win32 call with the argument that matters (or the step that
// failed), <status> is the Win32 status in decimal, and <function> is the library function that
// made the call. The leading TAB sets failure lines one column to the right of the step they
// belong to. The firewall's COM operations trace nothing: their HRESULTs go into the fixed
// message texts the firewall object keeps for its caller. Failure texts that support documents quote word for
// word are written as they stand by TraceFailureText; the TAB is added there, never written
// into the literal.
//
// Only at an exported operation does the status become the int the caller expects: ResultOf
// answers 1 for success and 0 for failure, and leaves the status in GetLastError, so that a
// caller of an int operation (and Write, for each of its steps) can still tell why it failed.
//
// No exported operation lets a C++ exception (an allocation that failed) reach its caller:
// ContainExceptions runs the operation's body and turns an escaping exception into the
// operation's failure result, with ERROR_NOT_ENOUGH_MEMORY in GetLastError.
#pragma once

#include <windows.h>

namespace failure {

// Writes "<TAB><what> failed (<status>) in <where>" to file; what is formatted from whatFormat.
// Nothing is written when file is null or empty: the library never picks a file of its own.
void TraceStatus(const char* file, const char* where, DWORD status, const char* whatFormat, ...);

// Writes "<TAB><text>" to file: a failure whose wording is fixed.
void TraceFailureText(const char* file, const char* text);

// 1 when status is ERROR_SUCCESS; else 0, with the status left in GetLastError.
int ResultOf(LONG status);

// The status of a Win32 call that answers a BOOL: ERROR_SUCCESS, or its GetLastError (never 0
// for a failed call: a failure that set no error answers ERROR_GEN_FAILURE).
DWORD StatusOf(BOOL succeeded);

// Runs body() and answers what it answers; an exception that escapes it answers onException.
template <typename Result, typename Body>
Result ContainExceptions(Result onException, Body&& body) noexcept
{
    try {
        return body();
    } catch (...) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return onException;
    }
}

}  // namespace failure

// The function that makes the call is named by the compiler. Inside a lambda the compiler's
// name is "operator()": there, name the function with failure::TraceStatus itself.
#define SETUPCLS_TRACE_FAILURE(file, status, ...) failure::TraceStatus((file), __func__, (status), __VA_ARGS__)
