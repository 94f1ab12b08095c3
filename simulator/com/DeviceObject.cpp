#include "com/DeviceObject.h"

#include "com/KeptObjects.h"
#include "com/Reference.h"
#include "com/ServiceObject.h"
#include "com/Variant.h"

namespace vorlansim
{

HRESULT CDeviceObject::Admit(REFIID iid)
{
    if (IsEqualIID(iid, IID_IVorlanDevice))
        return static_cast<HRESULT>(m_session->TakeQuietly(ClientStep::Device));
    if (!IsEqualIID(iid, IID_IVorlanDeviceBroker))
        return S_OK;
    if (m_session->BrokerMode() == Broker::Off)
        return E_NOINTERFACE;
    return static_cast<HRESULT>(m_session->TakeQuietly(ClientStep::Broker));
}

HRESULT CDeviceObject::OpenBySerialNumber(BSTR serialNumber, ULONG mediumIndex, ULONG flags, ULONG reserved1,
                                          ULONG reserved2)
{
    return Guarded([&] {
        return m_session->OpenBySerialNumber(ToView(serialNumber), {mediumIndex, flags}, reserved1, reserved2);
    });
}

HRESULT CDeviceObject::OpenById(ULONG deviceId, ULONG reserved)
{
    return Guarded([&] { return m_session->OpenById(deviceId, reserved); });
}

HRESULT CDeviceObject::Connect(IUnknown** service)
{
    if (service == nullptr)
        return E_POINTER;
    *service = nullptr;
    return Guarded([&] {
        const Result result = m_session->Take(ClientStep::Connect);
        if (IsFailure(result))
            return result;
        *service = (new CServiceObject(m_session))->Identity();
        KeepConnected(*service);
        return result;
    });
}

HRESULT CDeviceObject::GetDevice(ULONG kind, GUID* interfaceId, IUnknown** device)
{
    if (interfaceId == nullptr || device == nullptr)
        return E_POINTER;
    *device = nullptr;
    return Guarded([&]() -> HRESULT {
        const bool isKnown = IsEqualIID(*interfaceId, IID_IVorlanDevice);
        const HRESULT outcome = kind != kServiceKind ? E_INVALIDARG : isKnown ? S_OK : E_NOINTERFACE;
        const Result result =
            m_session->Take(ClientStep::GetDevice, " " + std::to_string(kind), static_cast<Result>(outcome));
        if (IsFailure(result))
            return static_cast<HRESULT>(result);
        if (m_session->BrokerMode() != Broker::Null)
            *device = CReference<IUnknown>::Share(*Identity()).Detach();
        return S_OK;
    });
}

}  // namespace vorlansim
