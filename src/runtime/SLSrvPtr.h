#pragma once

#include "runtime/SmartIFPtr.h"
#include "vorlan_service.h"

/// The link service of one connection: found through the service's locator, together with its two auxiliary interfaces,
/// the device and the broker that hands out another device.
class CSLSrvPtr final : public CSmartIFPtr<IVorlanService2, nullptr, &IID_IVorlanService2>
{
  public:
    CSLSrvPtr() = default;
    ~CSLSrvPtr() override;

    /// Names a particular device to the locator, before Connect. Throws CAtlException (E_OUTOFMEMORY).
    void SelectDevice(const OLECHAR* selector);

    bool HasBroker() const { return static_cast<bool>(m_broker); }
    CServiceRef<IVorlanDevice> GetDevice() const { return TakeOut(m_device, m_deviceCookie); }
    CServiceRef<IVorlanDeviceBroker> GetBroker() const { return TakeOut(m_broker, m_brokerCookie); }

    /// The number by which the service knows this kind of connection.
    std::uint8_t GetKind() const { return m_kind; }

    HRESULT CreateService() override;
    HRESULT ReleaseService() override;

  protected:
    void OnThreadKilled() override;

  private:
    HRESULT Locate(CComRef<IUnknown>& object) const;
    HRESULT FindInterfaces(const CComRef<IUnknown>& object);
    template <typename Auxiliary>
    HRESULT FindAuxiliary(const CComRef<IUnknown>& object, CComRef<Auxiliary>& target, std::atomic<DWORD>& cookie);
    void Revoke(std::atomic<DWORD>& cookie);

    CComRef<IVorlanDevice> m_device;
    std::atomic<DWORD> m_deviceCookie = 0;
    CComRef<IVorlanDeviceBroker> m_broker;
    std::atomic<DWORD> m_brokerCookie = 0;
    std::uint8_t m_kind = 3;
    BSTR m_deviceSelector = nullptr;
};
