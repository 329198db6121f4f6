#include "CSetupException.h"

namespace {

const CRuntimeClassInfo kObjectClass = {"CClsObject", sizeof(CClsObject), nullptr};
const CRuntimeClassInfo kExceptionClass = {"CClsException", sizeof(CClsException), &kObjectClass};
const CRuntimeClassInfo kSetupExceptionClass = {"CSetupException", sizeof(CSetupException),
                                                &kExceptionClass};

}  // namespace

BOOL CRuntimeClassInfo::IsDerivedFrom(const CRuntimeClassInfo* base) const
{
    for (const CRuntimeClassInfo* cls = this; cls; cls = cls->m_pBaseClass) {
        if (cls == base)
            return TRUE;
    }
    return FALSE;
}

const CRuntimeClassInfo* CClsObject::GetThisClass() { return &kObjectClass; }
const CRuntimeClassInfo* CClsObject::GetRuntimeClass() const { return &kObjectClass; }

BOOL CClsObject::IsKindOf(const CRuntimeClassInfo* cls) const
{
    return GetRuntimeClass()->IsDerivedFrom(cls);
}

const CRuntimeClassInfo* CClsException::GetThisClass() { return &kExceptionClass; }
const CRuntimeClassInfo* CClsException::GetRuntimeClass() const { return &kExceptionClass; }

void CClsException::Delete()
{
    if (m_bAutoDelete)
        delete this;
}

BOOL CClsException::GetErrorMessage(char* buffer, unsigned int maxLength, unsigned int*)
{
    if (buffer && maxLength > 0)
        buffer[0] = '\0';
    return FALSE;
}

CSetupException::CSetupException(int code, unsigned long error, const char* text)
    : m_nCode(code), m_sText(text), m_dwError(error)
{
}

CSetupException::~CSetupException() = default;

const CRuntimeClassInfo* CSetupException::GetThisClass() { return &kSetupExceptionClass; }
const CRuntimeClassInfo* CSetupException::GetRuntimeClass() const { return &kSetupExceptionClass; }

BOOL CSetupException::GetErrorMessage(char* buffer, unsigned int, unsigned int*)
{
    m_nCode = 2;
    if (buffer)
        wsprintfA(buffer, "%s - [0x%lx]", m_sText.GetString(), m_dwError);
    return TRUE;
}
