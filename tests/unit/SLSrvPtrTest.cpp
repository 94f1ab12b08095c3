#include "runtime/SLSrvPtr.h"

#include "support/ComApartment.h"
#include "support/FakeLinkService.h"

#include <gmock/gmock.h>

#include <optional>
#include <thread>

using testing::ElementsAre;

namespace
{

class Pointer : public testing::Test
{
  protected:
    /// The address that GetService gives on a thread of its own; it must be good for a call there.
    template <typename ServicePointer>
    static std::uintptr_t TakeOutOnThread(const ServicePointer& pointer, std::optional<DWORD> apartment)
    {
        std::uintptr_t address = 0;
        std::thread([&] {
            std::optional<ComApartment> entered;
            if (apartment)
                entered.emplace(*apartment);
            if (const auto service = pointer.GetService())
            {
                unsigned char access = 0;
                EXPECT_EQ(S_OK, service->GetAccess(&access));
                EXPECT_EQ(9, access);
                address = reinterpret_cast<std::uintptr_t>(service.operator->());
            }
        }).join();
        return address;
    }

    Pointer() { m_service.SetAccess(9); }

    ComApartment m_apartment;
    FakeLinkService m_service;
};

TEST_F(Pointer, FindsTheServiceOnAThreadOfItsOwn)
{
    DWORD thread = 0;
    m_service.Before("Find", [&] { thread = GetCurrentThreadId(); });
    CSLSrvPtr pointer;
    EXPECT_FALSE(pointer.HasService());
    EXPECT_EQ(3, pointer.GetKind());
    EXPECT_EQ(S_OK, pointer.Connect());
    EXPECT_NE(0u, thread);
    EXPECT_NE(GetCurrentThreadId(), thread);
    EXPECT_TRUE(pointer.HasService());
    EXPECT_FALSE(pointer.HasBroker());
    EXPECT_THAT(m_service.TakeCalls(), ElementsAre("Find 3", "Connect"));
    pointer.Disconnect();
    EXPECT_FALSE(pointer.HasService());
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(Pointer, NamesASelectedDevice)
{
    CSLSrvPtr pointer;
    pointer.SelectDevice(L"left");
    pointer.SelectDevice(L"right");
    EXPECT_EQ(S_OK, pointer.Connect());
    EXPECT_THAT(m_service.TakeCalls(), ElementsAre("FindDevice 3 \"right\"", "Connect"));
    pointer.Disconnect();
    for (const OLECHAR* empty : {L"", static_cast<const OLECHAR*>(nullptr)})
    {
        pointer.SelectDevice(empty);
        EXPECT_EQ(S_OK, pointer.Connect());
        EXPECT_THAT(m_service.TakeCalls(), ElementsAre("Find 3", "Connect"));
        pointer.Disconnect();
    }
}

TEST_F(Pointer, GivesEveryThreadTheRawPointerWithoutTheTable)
{
    m_service.OffersBroker();
    CSLSrvPtr pointer;
    ASSERT_EQ(S_OK, pointer.Connect());
    const std::uintptr_t first = TakeOutOnThread(pointer, COINIT_MULTITHREADED);
    EXPECT_NE(0u, first);
    EXPECT_EQ(first, TakeOutOnThread(pointer, COINIT_APARTMENTTHREADED));
    EXPECT_TRUE(pointer.GetDevice());
    EXPECT_TRUE(pointer.GetBroker());
    EXPECT_EQ(2, m_service.LiveObjects()) << "nothing was released";
    pointer.Disconnect();
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(Pointer, GivesAnyThreadAPointerOfItsOwnFromTheTable)
{
    m_service.OffersBroker();
    CSLSrvPtr pointer;
    pointer.UseTable();
    ASSERT_EQ(S_OK, pointer.Connect());
    EXPECT_NE(0u, TakeOutOnThread(pointer, std::nullopt));
    EXPECT_NE(0u, TakeOutOnThread(pointer, COINIT_MULTITHREADED));
    EXPECT_TRUE(pointer.GetDevice());
    EXPECT_TRUE(pointer.GetBroker());
    EXPECT_NE(TakeOutOnThread(pointer, COINIT_MULTITHREADED), TakeOutOnThread(pointer, COINIT_APARTMENTTHREADED))
        << "an apartment of its own has a proxy";
    pointer.Disconnect();
    EXPECT_FALSE(pointer.GetService());
    EXPECT_FALSE(pointer.GetDevice());
    EXPECT_FALSE(pointer.GetBroker());
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(Pointer, ReportsTheStepThatFailsAndKeepsNothing)
{
    constexpr auto kFailure = static_cast<HRESULT>(0x80040123);
    const struct
    {
        const char* step;
        bool null;
    } cases[] = {{"CreateLocator", false}, {"Find", false},        {"Find", true},
                 {"QueryDevice", false},   {"QueryDevice", true},  {"Connect", false},
                 {"Connect", true},        {"QueryBroker", false}, {"QueryService", false}};
    for (const bool useTable : {false, true})
        for (const auto& one : cases)
        {
            SCOPED_TRACE(one.step);
            m_service.Reset();
            if (one.null)
                m_service.GivesNull(one.step);
            else
                m_service.Returns(one.step, kFailure);
            CSLSrvPtr pointer;
            if (useTable)
                pointer.UseTable();
            EXPECT_EQ(one.null ? E_NOINTERFACE : kFailure, pointer.Connect());
            EXPECT_FALSE(pointer.HasService());
            EXPECT_FALSE(pointer.GetService());
            pointer.Disconnect();
            EXPECT_EQ(0, m_service.LiveObjects());
        }
}

TEST_F(Pointer, RegistersAndRevokesInTheTable)
{
    CSLSrvPtr pointer;
    ASSERT_EQ(S_OK, pointer.Connect());
    CComRef<IGlobalInterfaceTable> table;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                                     IID_IGlobalInterfaceTable, reinterpret_cast<void**>(table.Put())));

    CSmartPtrOperData operation;
    operation.kind = CSmartPtrOperData::kRegister;
    operation.interfaceId = IID_IVorlanService2;
    operation.interfacePointer = pointer.GetService().operator->();
    EXPECT_EQ(0u, pointer.Execute(&operation));
    CComRef<IVorlanService2> taken;
    const auto take = [&] {
        return table->GetInterfaceFromGlobal(operation.cookie, IID_IVorlanService2,
                                             reinterpret_cast<void**>(taken.Put()));
    };
    EXPECT_EQ(S_OK, take());
    taken.Release();

    operation.kind = CSmartPtrOperData::kRevoke;
    EXPECT_EQ(0u, pointer.Execute(&operation));
    EXPECT_NE(S_OK, take());
}

TEST_F(Pointer, RefusesABadOperation)
{
    CSLSrvPtr pointer;
    ASSERT_EQ(S_OK, pointer.Connect());
    const auto codeOf = [&](CSmartPtrOperData* operation) {
        return ResultOf([&] { return pointer.Execute(operation); });
    };
    CSmartPtrOperData operation;
    EXPECT_EQ(ZEL_E_POINTER, codeOf(nullptr));
    EXPECT_EQ(ZEL_E_POINTER, codeOf(reinterpret_cast<CSmartPtrOperData*>(std::uintptr_t{1})));
    for (const std::uint32_t kind : {0u, 3u})
    {
        operation.kind = kind;
        EXPECT_EQ(ZEL_E_ARGUMENT, codeOf(&operation));
    }
}

TEST_F(Pointer, TheGenericFormCreatesAClass)
{
    CSmartIFPtr<IVorlanLocator, &CLSID_VorlanLocator, &IID_IVorlanLocator> locator;
    locator.UseTable();
    ASSERT_EQ(S_OK, locator.Connect());
    CComRef<IUnknown> object;
    {
        const auto taken = locator.GetService();
        ASSERT_TRUE(taken);
        EXPECT_EQ(S_OK, taken->Find(3, object.Put()));
    }
    object.Release();
    locator.Disconnect();
    EXPECT_FALSE(locator.HasService());
    EXPECT_EQ(0, m_service.LiveObjects());
}

}  // namespace
