#pragma once

#include "message/Platform.h"
#include "vorlan_service.h"

/// The IUnknown of an event sink that is part of a larger object. Counting references never frees it.
template <typename Interface>
class CIUnknownImpl : public Interface
{
  public:
    CIUnknownImpl() = default;
    CIUnknownImpl(const CIUnknownImpl&) = delete;
    CIUnknownImpl& operator=(const CIUnknownImpl&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) final
    {
        if (object == nullptr)
            return E_POINTER;
        if (!IsEqualIID(id, __uuidof(IUnknown)) && !IsEqualIID(id, __uuidof(Interface)))
        {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() final { return static_cast<ULONG>(InterlockedIncrement(&m_references)); }
    ULONG STDMETHODCALLTYPE Release() final { return static_cast<ULONG>(InterlockedDecrement(&m_references)); }

    /// Lets no caller of another process in any more.
    void CutOff() { CoDisconnectObject(this, 0); }

    /// Waits until nobody holds a reference, at most `timeoutMs`. COM holds one while a call is on its way in or out.
    void WaitUntilReleased(std::uint32_t timeoutMs)
    {
        for (std::uint32_t waited = 0; InterlockedCompareExchange(&m_references, 0, 0) > 0 && waited < timeoutMs;
             ++waited)
            Sleep(1);
    }

  protected:
    ~CIUnknownImpl() = default;

  private:
    LONG m_references = 0;
};

/// Receives messages of the phone's services and connection events.
using CIVorlanServiceEvents = CIUnknownImpl<IVorlanServiceEvents>;
/// Receives messages of the raw channel.
using CIVorlanServiceEvents2 = CIUnknownImpl<IVorlanServiceEvents2>;
