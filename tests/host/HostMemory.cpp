#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <host_control.h>
#include <oleauto.h>
#include <string>

namespace
{

constexpr std::uintptr_t kFirstReadable = 0x10000;
/// Room before a BSTR's text; the last four bytes of it are the length in bytes.
constexpr std::size_t kPrefix = 8;

std::size_t g_live = 0;
unsigned g_failCountdown = 0;

bool MustFail()
{
    return g_failCountdown != 0 && --g_failCountdown == 0;
}

void* Allocate(std::size_t size)
{
    void* block = MustFail() ? nullptr : std::malloc(size);
    if (block != nullptr)
        ++g_live;
    return block;
}

void Free(void* block)
{
    if (block == nullptr)
        return;
    --g_live;
    std::free(block);
}

std::uint8_t* BlockOf(BSTR text)
{
    return reinterpret_cast<std::uint8_t*>(text) - kPrefix;
}

}  // namespace

std::size_t host::LiveAllocations()
{
    return g_live;
}

void host::FailAllocation(unsigned n)
{
    g_failCountdown = n;
}

bool host::IsFailurePending()
{
    return g_failCountdown != 0;
}

BOOL IsBadCodePtr(FARPROC pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer) < kFirstReadable ? TRUE : FALSE;
}

BSTR SysAllocStringByteLen(const char* bytes, UINT length)
{
    auto* block = static_cast<std::uint8_t*>(Allocate(kPrefix + length + sizeof(OLECHAR)));
    if (block == nullptr)
        return nullptr;
    std::memcpy(block + kPrefix - sizeof length, &length, sizeof length);
    if (bytes != nullptr)
        std::memcpy(block + kPrefix, bytes, length);
    std::memset(block + kPrefix + length, 0, sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(block + kPrefix);
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length)
{
    // The longest text whose length in bytes still fits into the prefix.
    if (length > (UINT32_MAX - kPrefix - sizeof(OLECHAR)) / sizeof(OLECHAR))
        return nullptr;
    return SysAllocStringByteLen(reinterpret_cast<const char*>(text), length * static_cast<UINT>(sizeof(OLECHAR)));
}

BSTR SysAllocString(const OLECHAR* text)
{
    if (text == nullptr)
        return nullptr;
    return SysAllocStringLen(text, static_cast<UINT>(std::char_traits<OLECHAR>::length(text)));
}

void SysFreeString(BSTR text)
{
    if (text != nullptr)
        Free(BlockOf(text));
}

UINT SysStringByteLen(BSTR text)
{
    UINT length = 0;
    if (text != nullptr)
        std::memcpy(&length, BlockOf(text) + kPrefix - sizeof length, sizeof length);
    return length;
}

UINT SysStringLen(BSTR text)
{
    return SysStringByteLen(text) / static_cast<UINT>(sizeof(OLECHAR));
}

void* CoTaskMemAlloc(SIZE_T size)
{
    return Allocate(size);
}

void CoTaskMemFree(void* block)
{
    Free(block);
}
