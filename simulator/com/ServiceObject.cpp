#include "com/ServiceObject.h"

#include "com/EventPoint.h"
#include "com/KeptObjects.h"
#include "com/Variant.h"

#include <olectl.h>

namespace vorlansim
{

HRESULT CServiceObject::Admit(REFIID iid)
{
    if (IsEqualIID(iid, IID_IVorlanService2))
        return static_cast<HRESULT>(m_session->TakeQuietly(ClientStep::Service));
    if (IsEqualIID(iid, IID_IConnectionPointContainer))
        return static_cast<HRESULT>(m_session->TakeQuietly(ClientStep::Container));
    return S_OK;
}

HRESULT CServiceObject::GetAccess(unsigned char* access)
{
    if (access == nullptr)
        return E_POINTER;
    return Guarded([&] { return m_session->GetAccess(*access); });
}

HRESULT CServiceObject::Send(unsigned char resource, VARIANT* message, VARIANT_BOOL waitForReply,
                             VARIANT expectedReplies, ULONG timeoutMs)
{
    if (message == nullptr)
        return E_POINTER;
    return Guarded([&]() -> Result {
        auto bytes = ReadBytes(*message);
        auto expected = expectedReplies.vt == VT_EMPTY ? Bytes() : ReadBytes(expectedReplies);
        if (!bytes || !expected)
            return kBadArgument;
        const SendAnswer answer = m_session->Send(
            {resource, std::move(*bytes), waitForReply != VARIANT_FALSE, std::move(*expected), timeoutMs});
        if (answer.reply)
            CVariant(*answer.reply).MoveTo(*message);
        return answer.result;
    });
}

HRESULT CServiceObject::SendRaw(VARIANT bytes)
{
    return Guarded([&] {
        const auto raw = ReadBytes(bytes);
        return raw ? m_session->SendRaw(*raw) : kBadArgument;
    });
}

HRESULT CServiceObject::SelectDeviceRange(ULONG range)
{
    return Guarded([&] { return m_session->Take(ClientStep::Range, " " + ToHex(range, 8)); });
}

/// There are two points and clients know them by their interface.
HRESULT CServiceObject::EnumConnectionPoints(IEnumConnectionPoints** points)
{
    if (points == nullptr)
        return E_POINTER;
    *points = nullptr;
    return E_NOTIMPL;
}

HRESULT CServiceObject::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    if (point == nullptr)
        return E_POINTER;
    *point = nullptr;
    return Guarded([&]() -> HRESULT {
        const bool isFirst = IsEqualIID(iid, IID_IVorlanServiceEvents);
        if (!isFirst && !IsEqualIID(iid, IID_IVorlanServiceEvents2))
            return CONNECT_E_NOCONNECTION;
        const Result result = m_session->TakeQuietly(isFirst ? ClientStep::PointEvents : ClientStep::PointEvents2);
        if (IsFailure(result))
            return static_cast<HRESULT>(result);
        *point = new CEventPoint(*this, m_session, isFirst ? Events::First : Events::Second);
        KeepConnected(*point);
        return S_OK;
    });
}

}  // namespace vorlansim
