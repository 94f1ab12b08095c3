#pragma once

#include "message/Platform.h"
#include "runtime/Occupancy.h"
#include "vorlan_service.h"

/// The IUnknown of an event sink that is part of a larger object. Counting references never frees it; who holds one is
/// inside that object.
template <typename Interface>
class CIUnknownImpl : public Interface
{
  public:
    explicit CIUnknownImpl(COccupancy& holders) : m_holders(holders) {}
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

    ULONG STDMETHODCALLTYPE AddRef() final
    {
        m_holders.Enter();
        return static_cast<ULONG>(InterlockedIncrement(&m_references));
    }
    ULONG STDMETHODCALLTYPE Release() final
    {
        const LONG left = InterlockedDecrement(&m_references);
        m_holders.Leave();
        return static_cast<ULONG>(left);
    }

    /// Keeps what lets callers of other processes in until CutOff, which takes it down without waiting. Were it to go
    /// with the service's last reference, COM would wait there for calls that are just ending, now and then for good.
    void Expose() { CoLockObjectExternal(this, TRUE, FALSE); }
    /// Lets no caller of another process in any more.
    void CutOff() { CoDisconnectObject(this, 0); }

  protected:
    ~CIUnknownImpl() = default;

  private:
    COccupancy& m_holders;
    LONG m_references = 0;
};

/// Receives messages of the phone's services and connection events.
using CIVorlanServiceEvents = CIUnknownImpl<IVorlanServiceEvents>;
/// Receives messages of the raw channel.
using CIVorlanServiceEvents2 = CIUnknownImpl<IVorlanServiceEvents2>;
