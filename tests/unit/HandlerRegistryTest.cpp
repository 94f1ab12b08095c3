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
#include "support/Bytes.h"
#include "support/ComApartment.h"
#include "support/FakeLinkService.h"
#include "support/NewSpy.h"
#include "zelapi/full_access.h"
#include "zelapi/messaging.h"
#include "zelapi/storage.h"
#include "zelapi/time.h"
#include "zelapi/wap.h"

#include <gmock/gmock.h>

#include <thread>

using testing::ElementsAre;

namespace
{

template <typename Handler>
bool Is(const CContentHandler& handler)
{
    return typeid(handler) == typeid(Handler);
}

TEST(HandlerRegistry, MakesTheHandlerOfEachResourceOnce)
{
    const struct
    {
        std::uint8_t resource;
        bool (*is)(const CContentHandler&);
    } cases[] = {
        {0x01, &Is<CCallHandler>},      {0x02, &Is<CSMSHandler>},
        {0x03, &Is<CPNDHandler>},       {0x06, &Is<CSupplementaryServicesHandler>},
        {0x13, &Is<CCalendarHandler>},  {0x14, &Is<CSMSHandler>},
        {0x19, &Is<CTimeHandler>},      {0x22, &Is<CProvisioningHandler>},
        {0x23, &Is<CPermHandler>},      {0x39, &Is<CUserProfilesHandler>},
        {0x3E, &Is<CRadioHandler>},     {0x3F, &Is<CWAPConnHandler>},
        {0x66, &Is<CMessagingHandler>}, {0x6D, &Is<CFile2Handler>},
        {0xAA, &Is<CStorageHandler>},   {0xFF, &Is<CFullAccessHandler>},
    };
    const CSLSrvPtr unconnected;
    CHandlerRegistry registry(unconnected);
    for (const auto& one : cases)
    {
        const auto handler = registry.GetHandler(one.resource);
        EXPECT_TRUE(one.is(*handler)) << unsigned{one.resource};
        EXPECT_EQ(one.resource, handler->GetResource());
        EXPECT_EQ(handler, registry.GetHandler(one.resource));
    }
    EXPECT_NE(registry.GetHandler(0x02), registry.GetHandler(0x14));
    const auto before = registry.GetHandler(0x19);
    registry.Clear();
    EXPECT_NE(before, registry.GetHandler(0x19));
    EXPECT_EQ(nullptr, registry.FindRawHandler());
}

TEST(HandlerRegistry, ThrowsForAnUnknownResourceAndWithoutMemory)
{
    const CSLSrvPtr unconnected;
    CHandlerRegistry registry(unconnected);
    const auto get = [&](std::uint8_t resource) {
        return ResultOf([&] { return registry.GetHandler(resource), ZEL_OK; });
    };
    for (const std::uint8_t resource : Bytes{0x00, 0x04, 0x05, 0x10, 0x7F, 0xFE})
        EXPECT_EQ(ZEL_NOT_HANDLED, get(resource)) << unsigned{resource};
    host::FailNew(1);
    EXPECT_EQ(ZEL_E_OUT_OF_MEMORY, get(0x66));
}

TEST(HandlerRegistry, AsksForTheAccessOnceWithTheRawHandler)
{
    const ComApartment apartment;
    FakeLinkService service;
    service.SetAccess(0xA5);
    CSLSrvPtr pointer;
    pointer.UseTable();
    ASSERT_EQ(S_OK, pointer.Connect());
    service.TakeCalls();

    CHandlerRegistry registry(pointer);
    EXPECT_EQ(nullptr, registry.FindRawHandler());
    const auto handler = registry.GetHandler(0xFF);
    EXPECT_EQ(handler, registry.FindRawHandler());
    registry.GetHandler(0xFF);
    registry.GetHandler(0x19);
    EXPECT_THAT(service.TakeCalls(), ElementsAre("GetAccess"));

    class NoSender : public CDataSender
    {
        std::uint32_t Send(CMessage&, std::uint32_t) override { return 0; }
        std::uint32_t SendRaw(std::uint32_t, const std::uint8_t*) override { return 0; }
        std::uint32_t GetServiceVersion(std::uint8_t, std::uint8_t&, std::uint8_t&) override { return 0; }
        std::uint32_t GetTimeServiceParameters(std::uint16_t&, std::uint16_t&) override { return 0; }
    } sender;
    AccessRecord record = {};
    EXPECT_EQ(0u, handler->EncodeRequest(sender, ZEL_FULL_ACCESS_QUERY, &record));
    EXPECT_EQ(0xA5, record.access);
}

TEST(HandlerRegistry, ServesSeveralThreads)
{
    const CSLSrvPtr unconnected;
    CHandlerRegistry registry(unconnected);
    const auto body = [&] {
        for (int i = 0; i < 2000; ++i)
        {
            EXPECT_EQ(0x66, registry.GetHandler(0x66)->GetResource());
            EXPECT_EQ(0x6D, registry.GetHandler(0x6D)->GetResource());
            if (i % 16 == 0)
                registry.Clear();
        }
    };
    std::thread other(body);
    body();
    other.join();
}

}  // namespace
