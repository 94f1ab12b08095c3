#pragma once

#include <windows.h>

#include <atomic>
#include <new>
#include <ocidl.h>
#include <vorlan_service.h>

/// The COM server around the phone. All objects live in the multithreaded apartment.
namespace vorlansim
{

/// The exception frame of every COM method.
template <typename Body>
HRESULT Guarded(Body body) noexcept
{
    try
    {
        return static_cast<HRESULT>(body());
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
    catch (...)
    {
        return E_UNEXPECTED;
    }
}

/// A reference-counted object with the given interfaces; it begins with one reference.
template <typename First, typename... Others>
class CComObject : public First, public Others...
{
  public:
    CComObject(const CComObject&) = delete;
    CComObject& operator=(const CComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        return Guarded([&] {
            const HRESULT result = Admit(iid);
            if (FAILED(result))
                return result;
            *object = Find(iid);
            if (*object == nullptr)
                return E_NOINTERFACE;
            AddRef();
            return S_OK;
        });
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

    IUnknown* Identity() { return static_cast<First*>(this); }

  protected:
    CComObject() = default;
    virtual ~CComObject() = default;

    /// Whether the object shows this interface at the moment.
    virtual HRESULT Admit(REFIID) { return S_OK; }

  private:
    void* Find(REFIID iid)
    {
        void* found = nullptr;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, __uuidof(First)))
            found = static_cast<First*>(this);
        ((IsEqualIID(iid, __uuidof(Others)) ? void(found = static_cast<Others*>(this)) : void()), ...);
        return found;
    }

    std::atomic<ULONG> m_references = 1;
};

}  // namespace vorlansim
