// CObject and its run-time class record.
#pragma once

#include <windows.h>

class CArchive;
class CDumpContext;
class CObject;

// Describes a class at run time. One constant record per class; never allocated.
struct CRuntimeClass {
    const char* m_lpszClassName;
    int m_nObjectSize; // bytes
    UINT m_wSchema;
    CObject* (*m_pfnCreateObject)(); // null for a class that is only dynamic
    CRuntimeClass* m_pBaseClass;

    // Whether this is pBaseClass or derives from it.
    BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;
};

// The root of the framework's classes. The order of the virtual operations is the order of their slots.
class CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject() = default;
    virtual void Serialize(CArchive& ar);
    virtual void AssertValid() const;
    virtual void Dump(CDumpContext& dc) const;

    BOOL IsKindOf(const CRuntimeClass* pClass) const;

    static CRuntimeClass classCObject;

protected:
    CObject() = default;

private:
    CObject(const CObject&) = delete;
    void operator=(const CObject&) = delete;
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

// In the class: its record and the operation that answers with it.
#define DECLARE_DYNAMIC(class_name)                                                                                    \
public:                                                                                                                \
    static CRuntimeClass class##class_name;                                                                            \
    CRuntimeClass* GetRuntimeClass() const override;

// In one source file.
#define IMPLEMENT_DYNAMIC(class_name, base_class_name)                                                                 \
    CRuntimeClass class_name::class##class_name = {#class_name, sizeof(class_name), 0xFFFF, nullptr,                   \
                                                   RUNTIME_CLASS(base_class_name)};                                    \
    CRuntimeClass* class_name::GetRuntimeClass() const {                                                               \
        return RUNTIME_CLASS(class_name);                                                                              \
    }
