#pragma once

#include "message/ExceptionFrame.h"
#include "runtime/ComRef.h"
#include "runtime/ZelAsyncOperation.h"

#include <atomic>
#include <cstdint>
#include <objidl.h>

/// One operation on the global interface table.
struct CSmartPtrOperData
{
    enum Kind : std::uint32_t
    {
        kRegister = 1,
        kRevoke = 2,
    };

    std::uint32_t kind = 0;
    IID interfaceId = {};
    DWORD cookie = 0;  ///< Out for kRegister, in for kRevoke.
    IUnknown* interfacePointer = nullptr;
};

/// A service interface for one call: either an owned reference of this thread's own, or the raw pointer, which stays
/// the connection's.
template <typename Interface>
class CServiceRef
{
  public:
    CServiceRef(Interface* pointer, bool owned) : m_pointer(pointer), m_owned(owned) {}
    CServiceRef(CServiceRef&& other) noexcept
        : m_pointer(std::exchange(other.m_pointer, nullptr)), m_owned(other.m_owned)
    {
    }
    CServiceRef(const CServiceRef&) = delete;
    CServiceRef& operator=(const CServiceRef&) = delete;
    CServiceRef& operator=(CServiceRef&&) = delete;
    ~CServiceRef()
    {
        if (m_owned && m_pointer != nullptr)
            m_pointer->Release();
    }

    Interface* operator->() const { return m_pointer; }
    explicit operator bool() const { return m_pointer != nullptr; }

  private:
    Interface* m_pointer;
    bool m_owned;
};

/// Creates a COM object on a thread of its own and publishes it in the global interface table, so that the apartment in
/// which it lives does not depend on the application's threads. All of it is created and released on that thread.
template <typename Interface, const CLSID* ClassId, const IID* InterfaceId>
class CSmartIFPtr : public CZelAsyncOperation<CSmartPtrOperData>
{
  public:
    ~CSmartIFPtr() override { Stop(kDestructorStopMs); }

    /// Makes other threads take the interface out of the table instead of using the raw pointer.
    void UseTable() { m_useTable = true; }

    /// Starts the thread and waits until the object is there. Returns the status of its creation; ZEL_E_FAIL if the
    /// thread does not answer in time.
    HRESULT Connect()
    {
        Start();
        for (std::uint32_t waited = 0; waited < kWaitMs; waited += kHandshakeMs)
            if (Handshake())
                return static_cast<HRESULT>(GetStartStatus());
        return static_cast<HRESULT>(ZEL_E_FAIL);
    }

    /// Releases everything and ends the thread.
    void Disconnect() { Stop(kWaitMs); }

    /// True while there is an object.
    bool HasService() const { return IsReadable(m_service.Get()); }

    /// The interface for a call on this thread; empty if there is none.
    CServiceRef<Interface> GetService() const { return TakeOut(m_service, m_serviceCookie); }

    std::uint32_t OnThreadStart(std::uint32_t) override
    {
        CComRef<IGlobalInterfaceTable> table;
        if (FAILED(CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_IGlobalInterfaceTable, reinterpret_cast<void**>(table.Put()))))
            ThrowCode(ZEL_E_CREATE);
        ExchangeTable(table);
        HRESULT result = CreateService();
        DWORD cookie = 0;
        if (SUCCEEDED(result))
            result = m_table->RegisterInterfaceInGlobal(m_service.Get(), *InterfaceId, &cookie);
        m_serviceCookie = cookie;
        return static_cast<std::uint32_t>(result);
    }

    std::uint32_t OnThreadExit(std::uint32_t) override
    {
        if (const DWORD cookie = m_serviceCookie.exchange(0); IsReadable(m_table.Get()) && cookie != 0)
            m_table->RevokeInterfaceFromGlobal(cookie);
        const HRESULT result = ReleaseService();
        CComRef<IGlobalInterfaceTable> none;
        ExchangeTable(none);
        return static_cast<std::uint32_t>(result);
    }

    std::uint32_t Execute(CSmartPtrOperData* operation) override
    {
        if (!IsReadable(operation))
            ThrowCode(ZEL_E_POINTER);
        switch (operation->kind)
        {
        case CSmartPtrOperData::kRegister:
            return static_cast<std::uint32_t>(m_table->RegisterInterfaceInGlobal(
                operation->interfacePointer, operation->interfaceId, &operation->cookie));
        case CSmartPtrOperData::kRevoke:
            return static_cast<std::uint32_t>(m_table->RevokeInterfaceFromGlobal(operation->cookie));
        default:
            ThrowCode(ZEL_E_ARGUMENT);
        }
    }

    virtual HRESULT CreateService()
    {
        return CoCreateInstance(*ClassId, nullptr, kServerContext, *InterfaceId,
                                reinterpret_cast<void**>(m_service.Put()));
    }

    virtual HRESULT ReleaseService()
    {
        m_service.Release();
        return S_OK;
    }

  protected:
    static constexpr DWORD kServerContext = CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

    /// The object behind `raw` for a call on this thread.
    template <typename Other>
    CServiceRef<Other> TakeOut(const CComRef<Other>& raw, DWORD cookie) const
    {
        if (!m_useTable)
            return {raw.Get(), false};
        const auto table = GetTable();
        Other* taken = nullptr;
        if (!table || FAILED(table->GetInterfaceFromGlobal(cookie, __uuidof(Other), reinterpret_cast<void**>(&taken))))
            taken = nullptr;
        return {taken, true};
    }

    /// A reference that was taken, or is being released, by a killed thread is lost rather than released twice.
    void OnThreadKilled() override
    {
        m_service.Forget();
        m_serviceCookie = 0;
        const CAutoLock lock(m_tableLock);
        m_table.Forget();
    }

    CComRef<Interface> m_service;
    bool m_useTable = false;
    std::atomic<DWORD> m_serviceCookie = 0;

  private:
    CComRef<IGlobalInterfaceTable> GetTable() const
    {
        const CAutoLock lock(m_tableLock);
        return m_table.Copy();
    }
    void ExchangeTable(CComRef<IGlobalInterfaceTable>& table)
    {
        const CAutoLock lock(m_tableLock);
        std::swap(m_table, table);
    }

    /// Set by the worker thread only, which therefore reads it without the lock.
    CComRef<IGlobalInterfaceTable> m_table;
    mutable CCriticalSection m_tableLock;
};
