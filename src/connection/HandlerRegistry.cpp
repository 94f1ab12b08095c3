#include "connection/HandlerRegistry.h"

#include "handlers/CallHandler.h"
#include "handlers/File2Handler.h"
#include "handlers/FullAccessHandler.h"
#include "handlers/MessagingHandler.h"
#include "handlers/PermHandler.h"
#include "handlers/ProvisioningHandler.h"
#include "handlers/RadioHandler.h"
#include "handlers/StorageHandler.h"
#include "handlers/SupplementaryServicesHandler.h"
#include "handlers/TimeHandler.h"
#include "handlers/UserProfilesHandler.h"
#include "handlers/WAPConnHandler.h"
#include "handlers/calendar/CalendarHandler.h"
#include "handlers/pnd/PNDHandler.h"
#include "handlers/sms/SMSHandler.h"

#include <algorithm>
#include <new>

std::shared_ptr<CContentHandler> CHandlerRegistry::Find(std::uint8_t resource)
{
    const CAutoLock lock(m_lock);
    const auto found = std::find_if(m_handlers.begin(), m_handlers.end(),
                                    [&](const auto& handler) { return handler->GetResource() == resource; });
    return found == m_handlers.end() ? nullptr : *found;
}

std::shared_ptr<CContentHandler> CHandlerRegistry::GetHandler(std::uint8_t resource)
{
    if (auto known = Find(resource))
        return known;
    // Made outside the lock, because the raw channel's handler asks the link service. Two threads that ask at once for
    // a new service may both make one; the earlier one serves from then on.
    std::shared_ptr<CContentHandler> created;
    try
    {
        created = Create(resource);
    }
    catch (const std::bad_alloc&)
    {
        ThrowCode(ZEL_E_OUT_OF_MEMORY);
    }
    created->SetResource(resource);
    const CAutoLock lock(m_lock);
    m_handlers.push_back(created);
    return created;
}

std::shared_ptr<CContentHandler> CHandlerRegistry::Create(std::uint8_t resource) const
{
    switch (resource)
    {
    case 0x01:
        return std::make_shared<CCallHandler>();
    case 0x02:
    case 0x14:
        return std::make_shared<CSMSHandler>();
    case 0x03:
        return std::make_shared<CPNDHandler>();
    case 0x06:
        return std::make_shared<CSupplementaryServicesHandler>();
    case 0x13:
        return std::make_shared<CCalendarHandler>();
    case 0x19:
        return std::make_shared<CTimeHandler>();
    case 0x22:
        return std::make_shared<CProvisioningHandler>();
    case 0x23:
        return std::make_shared<CPermHandler>();
    case 0x39:
        return std::make_shared<CUserProfilesHandler>();
    case 0x3E:
        return std::make_shared<CRadioHandler>();
    case 0x3F:
        return std::make_shared<CWAPConnHandler>();
    case 0x66:
        return std::make_shared<CMessagingHandler>();
    case 0x6D:
        return std::make_shared<CFile2Handler>();
    case 0xAA:
        return std::make_shared<CStorageHandler>();
    case kFullAccess:
        return CreateFullAccess();
    default:
        ThrowCode(ZEL_NOT_HANDLED);
    }
}

std::shared_ptr<CContentHandler> CHandlerRegistry::CreateFullAccess() const
{
    auto handler = std::make_shared<CFullAccessHandler>();
    std::uint8_t access = 0;
    if (const auto service = m_service.GetService())
        service->GetAccess(&access);
    handler->SetAccess(access);
    return handler;
}

void CHandlerRegistry::Clear()
{
    std::vector<std::shared_ptr<CContentHandler>> dropped;
    const CAutoLock lock(m_lock);
    dropped.swap(m_handlers);
}
