#include "support/Survives.h"

#include "handlers/base/ContentHandler.h"
#include "support/FailingNew.h"
#include "support/PhoneMessages.h"
#include "support/RecordShapes.h"

#include <algorithm>
#include <functional>

namespace
{

constexpr std::uint32_t kSendFailure = 0x80040155;
/// More zeros than any number takes.
constexpr std::size_t kZeros = 8;

struct AllocationKind
{
    const char* name;
    void (*fail)(unsigned n);
    bool (*isPending)();
    std::uint32_t result;
};

constexpr AllocationKind kAllocationKinds[] = {
    {"allocation", host::FailAllocation, host::IsFailurePending, kNoMemory},
    {"operator new", host::FailNew, host::IsNewFailurePending, ZEL_E_FAIL},
};

/// An allocation that fails while an operation runs.
struct Fault
{
    template <typename Operation>
    std::uint32_t Meet(Operation operation)
    {
        if (kind != nullptr)
            kind->fail(n);
        const std::uint32_t result = operation();
        if (kind != nullptr)
        {
            happened = !kind->isPending();
            kind->fail(0);
        }
        return result;
    }

    const AllocationKind* kind = nullptr;
    unsigned n = 0;
    bool happened = false;
};

/// How an operation ended.
struct Ending
{
    std::uint32_t result;
    Bytes contents;
    std::size_t messages;
};

using Messages = std::vector<Reply>;
using Play = std::function<Ending(const Messages&, Fault&)>;

Ending PlayWith(const Play& play, Messages messages, std::size_t which, const Bytes& body)
{
    Fault none;
    messages[which].body = body;
    return play(messages, none);
}

void CheckTruncations(const Play& play, const Messages& messages, const std::vector<std::uint32_t>& allowed)
{
    for (std::size_t which = 0; which < messages.size(); ++which)
        for (const Bytes& part : Truncations(messages[which].body))
        {
            SCOPED_TRACE("message " + std::to_string(which) + " is " + Hex(part));
            const Ending cut = PlayWith(play, messages, which, part);
            EXPECT_NE(std::ranges::find(allowed, cut.result), allowed.end()) << std::hex << cut.result;
            const Ending filled = PlayWith(play, messages, which, part + Bytes(kZeros));
            EXPECT_EQ(cut.result, filled.result) << "zeros make another result";
            EXPECT_TRUE(SameBytes(filled.contents, cut.contents)) << "zeros make another record";
        }
}

void CheckAllocations(const Play& play, const Messages& messages, const AllocationKind& kind)
{
    for (Fault fault = {&kind, 1}; fault.n == 1 || fault.happened; ++fault.n)
    {
        SCOPED_TRACE(std::string(kind.name) + ' ' + std::to_string(fault.n) + " fails");
        const Ending ending = play(messages, fault);
        EXPECT_EQ(ending.result, fault.happened ? kind.result : ZEL_OK);
    }
}

void CheckFaults(const Play& play, const Messages& messages, std::vector<std::uint32_t> allowed)
{
    Fault none;
    const Ending whole = play(messages, none);
    EXPECT_EQ(whole.result, ZEL_OK);
    EXPECT_EQ(whole.messages, messages.size()) << "not all messages are used";
    allowed.insert(allowed.end(), {ZEL_OK, kSendFailure});
    CheckTruncations(play, messages, allowed);
    for (const AllocationKind& kind : kAllocationKinds)
        CheckAllocations(play, messages, kind);
}

}  // namespace

void Survives(CContentHandler& handler, const FakeSender& phone, std::uint32_t messageId, const void* record,
              const std::vector<Reply>& replies, Results allowed)
{
    const RecordShape* const shape = RecordShapeOf(messageId);
    ASSERT_TRUE(shape != nullptr && !shape->isIndication);
    const auto play = [&](const Messages& messages, Fault& fault) -> Ending {
        const CLeakCheck leaks;
        FakeSender sender = phone;
        for (const auto& [id, body] : messages)
            sender.Reply(id, body);
        sender.FailFurther(kSendFailure);
        CCallersRecord copy(shape->shape, record);
        const std::uint32_t result = fault.Meet([&] { return handler.EncodeRequest(sender, messageId, copy.Get()); });
        RecordContents contents = copy.Read();
        EXPECT_TRUE(result != ZEL_OK || contents.broken == nullptr) << contents.broken;
        EXPECT_TRUE(result == ZEL_OK || !contents.hasNew) << "a request that fails stores nothing";
        return {result, std::move(contents.bytes), sender.Requests().size() - phone.Requests().size()};
    };
    CheckFaults(play, replies, allowed);
}

void SurvivesIndication(CContentHandler& handler, std::uint32_t messageId, const Reply& indication, Results allowed)
{
    const RecordShape* const shape = RecordShapeOf(messageId);
    ASSERT_TRUE(shape != nullptr && shape->isIndication);
    const auto play = [&](const Messages& messages, Fault& fault) -> Ending {
        const CLeakCheck leaks;
        CMessage message = MessageOf(messages[0].id, messages[0].body);
        message.SetResource(handler.GetResource());
        std::uint32_t decodedId = 0;
        void* record = nullptr;
        const std::uint32_t result = fault.Meet([&] { return handler.DecodeMessage(message, decodedId, record); });
        EXPECT_EQ(decodedId, result == ZEL_OK ? messageId : 0);
        if (record == nullptr)
            return {result, {}, 1};
        EXPECT_EQ(result, ZEL_OK) << "a record comes with success only";
        RecordContents contents = ReadReceived(shape->shape, record);
        EXPECT_TRUE(contents.broken == nullptr) << contents.broken;
        const CAllocations left = LeftToReceiver(*shape, record, contents);
        handler.FreeDecodedData(messageId, record);
        left.Free();
        return {result, std::move(contents.bytes), 1};
    };
    CheckFaults(play, {indication}, allowed);
}
