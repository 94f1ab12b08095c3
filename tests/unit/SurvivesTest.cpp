#include "support/Survives.h"

#include "handlers/base/ContentHandler.h"
#include "handlers/base/Owners.h"
#include "support/RecordShapes.h"
#include "zelapi/storage.h"

#include <gtest/gtest-spi.h>

#include <functional>

namespace
{

using List = StorageIdentifierList;

constexpr Exchange kExchange = {.request = 0, .reply = 1};

/// Reads a count and as many identifiers, well or badly.
class CReadingHandler : public CContentHandler
{
  public:
    using Read = std::function<void(CMessage&, List&)>;

    explicit CReadingHandler(Read read) : CContentHandler({}), m_read(std::move(read)) {}

    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t, void* record) override
    {
        return ResultOf([&]() -> std::uint32_t {
            const CConversation phone(sender, GetResource());
            CMessage message = phone.Request(kExchange);
            phone.Ask(message, kExchange);
            m_read(message, *static_cast<List*>(record));
            return ZEL_OK;
        });
    }

  private:
    Read m_read;
};

/// All that is found.
std::string FoundIn(const CReadingHandler::Read& read, const std::vector<Reply>& replies)
{
    CReadingHandler handler(read);
    const List record = {};
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        Survives(handler, FakeSender(), ZEL_STORAGE_LIST_IDENTIFIERS, &record, replies);
    }
    std::string found;
    for (int i = 0; i < results.size(); ++i)
        found += results.GetTestPartResult(i).failed() ? results.GetTestPartResult(i).message() : "";
    return found.empty() ? "nothing" : found;
}

TEST(Survives, FindsEachFault)
{
    const auto read = [](CMessage& message, List& list) {
        list.count = message.ReadByte();
        auto identifiers = AllocateRecords<std::uint32_t>(list.count);
        list.identifiers = identifiers.release();
    };
    std::vector<CTaskMemOwner<std::uint8_t>> kept;
    const struct
    {
        const char* found;
        CReadingHandler::Read read;
        std::vector<Reply> replies;
    } cases[] = {
        {"nothing", read, {{1, {2, 0}}}},
        {"not all messages are used", read, {{1, {2, 0}}, {1, {}}}},
        {"a count comes with its array",
         [](CMessage& message, List& list) { list.count = message.ReadByte(); },
         {{1, {2}}}},
        {"allocations were not freed",
         [&](CMessage&, List&) { kept.push_back(AllocateRecords<std::uint8_t>()); },
         {{1, {2}}}},
        {"zeros make another record",
         [](CMessage& message, List& list) { list.area = message.GetSize() == 1 ? 1 : 0; },
         {{1, {0, 0}}}},
        {"zeros make another result",
         [](CMessage& message, List&) {
             if (message.GetSize() == 1)
                 ThrowCode(ZEL_E_FAIL);
         },
         {{1, {0, 0}}}},
        {"ending.result", [](CMessage&, List&) { CoTaskMemFree(CoTaskMemAlloc(1)); }, {{1, {2}}}},
    };
    for (const auto& [found, faulty, replies] : cases)
        EXPECT_NE(FoundIn(faulty, replies).find(found), std::string::npos) << found << '\n' << FoundIn(faulty, replies);
}

TEST(RecordShapes, FillCopyAndFreeARecordOfEveryMessage)
{
    Bytes seed(2000);
    for (std::size_t i = 0; i < seed.size(); ++i)
        seed[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    for (const RecordShape& shape : AllRecordShapes())
        for (std::size_t from = 0; from < 8; ++from)
        {
            SCOPED_TRACE(testing::Message() << shape.messageId << ", " << from);
            const CLeakCheck leaks;
            CByteSource source = {seed.data() + from, seed.size() - from};
            CCallersRecord filled(shape.shape, source);
            CCallersRecord copied(shape.shape, filled.Get());
            EXPECT_EQ(filled.Read().broken, nullptr);
            EXPECT_TRUE(SameBytes(filled.Read().bytes, copied.Read().bytes));
        }
}

}  // namespace
