// CSetupException: the one exception the library raises, with its own small run-time class
// scheme: every class of the scheme can name itself and its base.
#pragma once

#include "CString.h"

// Run-time class information: a class name and the information of the base class.
struct SETUPCLS_API CRuntimeClassInfo {
    const char* m_lpszClassName;
    int m_nObjectSize;
    const CRuntimeClassInfo* m_pBaseClass;

    const CRuntimeClassInfo* GetBaseClass() const { return m_pBaseClass; }
    // True for this class and every class it derives from.
    BOOL IsDerivedFrom(const CRuntimeClassInfo* base) const;
};

// Root of the scheme.
class SETUPCLS_API CClsObject {
public:
    virtual ~CClsObject() = default;
    static const CRuntimeClassInfo* GetThisClass();
    virtual const CRuntimeClassInfo* GetRuntimeClass() const;
    BOOL IsKindOf(const CRuntimeClassInfo* cls) const;
};

// Exception base: objects live on the heap and the catcher releases them with Delete.
class SETUPCLS_API CClsException : public CClsObject {
public:
    explicit CClsException(BOOL autoDelete = TRUE) : m_bAutoDelete(autoDelete) {}
    static const CRuntimeClassInfo* GetThisClass();
    const CRuntimeClassInfo* GetRuntimeClass() const override;

    // Deletes the object when it was made to be deleted by its catcher.
    void Delete();
    virtual BOOL GetErrorMessage(char* buffer, unsigned int maxLength, unsigned int* helpContext = nullptr);

protected:
    BOOL m_bAutoDelete;
};

class SETUPCLS_API CSetupException : public CClsException {
public:
    CSetupException() : CSetupException(0, 0, "") {}
    CSetupException(int code, unsigned long error, const char* text);
    ~CSetupException() override;

    static const CRuntimeClassInfo* GetThisClass();
    const CRuntimeClassInfo* GetRuntimeClass() const override;

    // Writes "text - [0x<error in lower-case hex>]" into buffer with no regard to maxLength: the
    // buffer must hold the text plus 14 bytes. The code reads 2 afterwards, whatever it was.
    // Always TRUE; helpContext is left untouched.
    BOOL GetErrorMessage(char* buffer, unsigned int maxLength, unsigned int* helpContext = nullptr) override;

    int m_nCode;
    CString m_sText;
    unsigned long m_dwError;
};

// Raises a new CSetupException carrying the three values; never returns.
//
// Defined here, in the caller's module, on purpose: SetupCLS.dll carries its own static copy of
// the runtime's unwinder, which cannot walk into another module's frames, so the exception is
// raised where the caller's own handlers can catch it.
[[noreturn]] inline void AfxThrowSetupException(int code, unsigned long error, const char* text)
{
    throw new CSetupException(code, error, text);
}
