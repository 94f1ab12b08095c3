#include "e2e/LinkService.h"

#include <thread>

namespace
{

using RequestTest = EndToEnd;

constexpr Apartment kApartments[] = {Apartment::None, Apartment::Single, Apartment::Multiple};

TEST_F(RequestTest, FromThreadsOfEveryApartment)
{
    const LinkService service(kPhone);
    for (const Apartment opening : kApartments)
        for (const Apartment sending : kApartments)
            RunOnThread(opening, [&] {
                Connection phone;
                ASSERT_EQ(phone.Result(), ZEL_OK);
                EXPECT_EQ(FileName(phone.Handle(), 1), u"A");
                RunOnThread(sending, [&] { EXPECT_EQ(FileName(phone.Handle(), 2), u"B"); });
                EXPECT_EQ(phone.Close(), ZEL_OK);
            });
}

TEST_F(RequestTest, OfTwoConnectionsAndManyThreadsAtOnce)
{
    const LinkService service(kPhone);
    const Connection first;
    const Connection second;
    std::vector<std::thread> threads;
    for (const std::uint32_t id : {1u, 2u})
        for (const Connection* phone : {&first, &second})
            threads.emplace_back([id, phone] {
                for (int i = 0; i < 50; ++i)
                    EXPECT_EQ(FileName(phone->Handle(), id), id == 1 ? u"A" : u"B");
            });
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
