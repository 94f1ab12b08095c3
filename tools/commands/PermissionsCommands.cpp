#include "commands/PermissionsCommands.h"

#include "shell/BlockProgress.h"
#include "shell/Failure.h"
#include "shell/Received.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <vector>
#include <zelapi/permissions.h>

namespace zelctl
{
namespace
{

/// Written with one call of the library, so that there is progress to show between the calls.
constexpr std::size_t kChunksAtOnce = 16;

/// Stays in a record when the phone tells no size.
constexpr std::uint32_t kNoSize = 0xFFFFFFFF;

std::span<const PermissionChunk> ChunksOf(const PermissionRecord& block)
{
    return {block.chunks, block.count};
}

std::uint16_t KeyOf(const CArguments& arguments)
{
    return arguments.Word(0, "KEY");
}

std::filesystem::path PathOf(const std::string& name)
{
    return ToUtf16(name);
}

/// The phone's answer to the request for one of the two sizes.
std::uint32_t AskSize(CConnection& phone, std::uint32_t messageId, std::uint16_t key)
{
    PermissionRecord record = {0, key, kNoSize, 0, nullptr};
    phone.Send("asking for the size", messageId, record);
    if (record.size == kNoSize)
        throw CFailure("asking for the size", std::nullopt, {"The phone answered with another message.", ""});
    return record.size;
}

void ShowSize(CContext& context)
{
    const std::uint16_t key = KeyOf(context.arguments);
    context.output.Show({{"key", key}, {"size", AskSize(context.Phone(), ZEL_PERMISSIONS_SIZE, key)}});
}

void ShowSecondSize(CContext& context)
{
    const std::uint16_t key = KeyOf(context.arguments);
    context.output.Show({{"key", key}, {"second_size", AskSize(context.Phone(), ZEL_PERMISSIONS_SECOND_SIZE, key)}});
}

/// The phone may leave chunks out, or send others than it was asked for.
void CheckWhole(const PermissionRecord& block)
{
    std::uint64_t received = 0;
    for (const PermissionChunk& chunk : ChunksOf(block))
        received += chunk.length;
    if (received != block.size)
        throw CFailure(
            "reading the block", std::nullopt,
            {"The phone sent " + std::to_string(received) + " of " + std::to_string(block.size) + " bytes.", ""});
}

void ReadBlock(CConnection& phone, PermissionRecord& block)
{
    // There is nothing to ask for in an empty one.
    if (block.size == 0)
        return;
    const CBusy busy("reading " + std::to_string(block.size) + " bytes");
    phone.Send("reading the block", ZEL_PERMISSIONS_READ, block);
    CheckWhole(block);
}

void Save(const PermissionRecord& block, const std::string& name)
{
    std::ofstream file(PathOf(name), std::ios::binary);
    for (const PermissionChunk& chunk : ChunksOf(block))
        file.write(reinterpret_cast<const char*>(chunk.bytes), static_cast<std::streamsize>(chunk.length));
    if (!file.flush())
        throw CFailure("writing " + name, std::nullopt,
                       {"The file cannot be written.", "See whether its folder exists."});
}

void ReadToFile(CContext& context)
{
    const std::uint16_t key = KeyOf(context.arguments);
    const std::string& file = context.arguments.Text(1);
    const auto size = context.arguments.OptionNumber("--size", {1});
    CConnection& phone = context.Phone();
    CReceived<PermissionRecord> block;
    block.record.key = key;
    block.record.size = size ? *size : AskSize(phone, ZEL_PERMISSIONS_SIZE, key);
    ReadBlock(phone, block.record);
    Save(block.record, file);
    context.output.Show({{"key", key}, {"size", block.record.size}, {"file", file}});
}

std::vector<std::uint8_t> Load(const std::string& name)
{
    std::ifstream file(PathOf(name), std::ios::binary);
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw CFailure("reading " + name, std::nullopt, {"The file cannot be read.", "See whether it exists."});
    if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max())
        throw CUsageError(name + " has " + std::to_string(bytes.size()) + " bytes, which is no block");
    return bytes;
}

/// The next bytes of a block as chunks for one call.
std::vector<PermissionChunk> NextChunks(std::span<std::uint8_t> bytes)
{
    std::vector<PermissionChunk> chunks;
    while (!bytes.empty() && chunks.size() < kChunksAtOnce)
    {
        const std::size_t length = std::min<std::size_t>(bytes.size(), ZEL_PERMISSIONS_CHUNK_LENGTH);
        chunks.push_back({0, 0, static_cast<std::uint32_t>(length), bytes.data()});
        bytes = bytes.subspan(length);
    }
    return chunks;
}

void WriteBlock(CContext& context, std::uint16_t key, std::span<std::uint8_t> bytes)
{
    CConnection& phone = context.Phone();
    std::string shown = ProgressBar("writing", 0, bytes.size());
    CProgress progress(shown);
    for (std::size_t at = 0; at < bytes.size();)
    {
        if (context.stop.IsSet())
            throw CFailure(
                "writing the block", std::nullopt,
                {"It was stopped after " + std::to_string(at) + " of " + std::to_string(bytes.size()) + " bytes.", ""});
        std::vector<PermissionChunk> chunks = NextChunks(bytes.subspan(at));
        PermissionRecord record = {0, key, 0, static_cast<std::uint32_t>(chunks.size()), chunks.data()};
        phone.Send("writing the block", ZEL_PERMISSIONS_WRITE, record);
        for (const PermissionChunk& chunk : chunks)
            at += chunk.length;
        // A terminal may be slower than the phone.
        if (const std::string now = ProgressBar("writing", at, bytes.size()); now != shown)
            progress.Show(shown = now);
    }
}

void WriteFromFile(CContext& context)
{
    const std::uint16_t key = KeyOf(context.arguments);
    const std::string& file = context.arguments.Text(1);
    std::vector<std::uint8_t> bytes = Load(file);
    WriteBlock(context, key, bytes);
    context.output.Show({{"key", key}, {"written", bytes.size()}, {"file", file}});
}

constexpr Option kReadOptions[] = {{"--size", "N", "how many bytes to read, instead of asking the phone"}};

constexpr Command kCommands[] = {
    {"permissions size", "KEY", "asks for the size of a block", "", kNoOptions, ShowSize},
    {"permissions second-size", "KEY", "asks for the second size of a block", "", kNoOptions, ShowSecondSize},
    {"permissions read", "KEY FILE", "reads a block into a file", "The file is written when the whole block is there.",
     kReadOptions, ReadToFile},
    {"permissions write", "KEY FILE", "writes a file as a block",
     "It goes to the phone in chunks of 1024 bytes. Ctrl-C stops it; what is written by then stays written.",
     kNoOptions, WriteFromFile},
};

}  // namespace

const Module kPermissionsModule = {0x23, kCommands, {}, nullptr};

}  // namespace zelctl
