#pragma once

#include "com/ComObject.h"
#include "com/ServerLock.h"
#include "phone/Session.h"

namespace vorlansim
{

/// The kind that clients name when they look for the service or a device.
constexpr ULONG kServiceKind = 3;

/// One client's way to the device; also the broker, which hands out the same object.
class CDeviceObject : public CComObject<IVorlanDevice, IVorlanDeviceBroker>
{
  public:
    explicit CDeviceObject(std::shared_ptr<CSession> session) : m_session(std::move(session)) {}

    HRESULT STDMETHODCALLTYPE OpenBySerialNumber(BSTR serialNumber, ULONG mediumIndex, ULONG flags, ULONG reserved1,
                                                 ULONG reserved2) override;
    HRESULT STDMETHODCALLTYPE OpenById(ULONG deviceId, ULONG reserved) override;
    HRESULT STDMETHODCALLTYPE Reserved() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Connect(IUnknown** service) override;

    HRESULT STDMETHODCALLTYPE Reserved1() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved2() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDevice(ULONG kind, GUID* interfaceId, IUnknown** device) override;

  protected:
    HRESULT Admit(REFIID iid) override;

  private:
    ~CDeviceObject() override = default;

    const CServerLock m_lock;
    const std::shared_ptr<CSession> m_session;
};

}  // namespace vorlansim
