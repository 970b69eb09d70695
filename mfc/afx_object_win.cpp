// Class records lead from class to base class, and IsDerivedFrom follows them. The virtual functions for archives and
// for debugging keep their places in the table and do nothing.
#include "mfc/afx_object.h"

CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0xFFFF, nullptr, nullptr};

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const {
    for (const CRuntimeClass* candidate = this; candidate; candidate = candidate->m_pBaseClass)
        if (candidate == pBaseClass)
            return TRUE;
    return FALSE;
}

CRuntimeClass* CObject::GetRuntimeClass() const {
    return RUNTIME_CLASS(CObject);
}

void CObject::Serialize(CArchive&) {}

void CObject::AssertValid() const {}

void CObject::Dump(CDumpContext&) const {}

BOOL CObject::IsKindOf(const CRuntimeClass* pClass) const {
    return GetRuntimeClass()->IsDerivedFrom(pClass);
}
