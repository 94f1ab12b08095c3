#include "zelapi/permissions.h"

#include "e2e/LinkService.h"

namespace
{

using PermissionsTest = EndToEnd;

PermissionRecord Ask(const Connection& phone, std::uint32_t messageId, PermissionRecord record)
{
    EXPECT_EQ(ZelSendMessage(phone.Handle(), messageId, &record), ZEL_OK);
    return record;
}

std::string ReadBlock(const Connection& phone, std::uint16_t key)
{
    const std::uint32_t size = Ask(phone, ZEL_PERMISSIONS_SIZE, {0, key, 0, 0, nullptr}).size;
    const PermissionRecord record = Ask(phone, ZEL_PERMISSIONS_READ, {0, key, size, 0, nullptr});
    std::string block;
    for (std::uint32_t i = 0; i < record.count; ++i)
    {
        EXPECT_EQ(record.chunks[i].offset, block.size());
        block.append(reinterpret_cast<const char*>(record.chunks[i].bytes), record.chunks[i].length);
        CoTaskMemFree(record.chunks[i].bytes);
    }
    CoTaskMemFree(record.chunks);
    EXPECT_EQ(block.size(), size);
    return block;
}

TEST_F(PermissionsTest, ABlockIsReadWrittenAndReadAgain)
{
    const LinkService service(Shipped("permissions"));
    const NothingLeft nothing(service);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    EXPECT_EQ(ReadBlock(phone, 1), "call=allow;message=ask;location=deny;");
    EXPECT_EQ(ReadBlock(phone, 2).size(), 2400u);
    EXPECT_EQ(Ask(phone, ZEL_PERMISSIONS_SECOND_SIZE, {0, 1, 0, 0, nullptr}).size, 4096u);

    std::string block(2500, 'x');
    block.replace(1020, 8, "boundary");
    auto* bytes = reinterpret_cast<std::uint8_t*>(block.data());
    PermissionChunk chunks[] = {{0, 0, 1024, bytes}, {0, 0, 1024, bytes + 1024}, {0, 0, 452, bytes + 2048}};
    Ask(phone, ZEL_PERMISSIONS_WRITE, {0, 1, 0, 3, chunks});
    EXPECT_EQ(ReadBlock(phone, 1), block);

    PermissionRecord unknown = {0, 9, 1, 0, nullptr};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_PERMISSIONS_READ, &unknown), 0x2304u);
    EXPECT_EQ(unknown.chunks, nullptr);
}

}  // namespace
