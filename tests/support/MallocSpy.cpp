#include "support/MallocSpy.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <objidl.h>

namespace
{

/// Looks on at every allocation of the COM task allocator, which BSTRs come from, too.
class CMallocSpy : public IMallocSpy
{
  public:
    CMallocSpy()
    {
        // Freed texts must not stay in the cache of BSTRs, where they would count as alive.
        using SetNoCache = void(WINAPI*)();
        const auto setNoCache = reinterpret_cast<SetNoCache>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"oleaut32.dll"), "SetOaNoCache")));
        if (setNoCache == nullptr || FAILED(CoRegisterMallocSpy(this)))
        {
            std::fputs("allocations cannot be counted\n", stderr);
            std::abort();
        }
        setNoCache();
    }
    CMallocSpy(const CMallocSpy&) = delete;
    CMallocSpy& operator=(const CMallocSpy&) = delete;
    /// Never destroyed: COM keeps it while blocks live that it has seen.
    virtual ~CMallocSpy() = delete;

    std::size_t Live() const { return m_live; }
    void FailAfter(unsigned n) { m_countdown = n; }
    bool IsFailurePending() const { return m_countdown != 0; }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        const bool known = iid == __uuidof(IUnknown) || iid == __uuidof(IMallocSpy);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    // IMallocSpy; COM serialises the calls between a pre and its post.
    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) override
    {
        // A size of 0 instead of the wanted one tells COM to fail.
        return m_countdown != 0 && --m_countdown == 0 ? 0 : size;
    }
    void* STDMETHODCALLTYPE PostAlloc(void* block) override
    {
        m_live += block != nullptr ? 1 : 0;
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL spied) override
    {
        m_live -= spied && block != nullptr ? 1 : 0;
        return block;
    }
    void STDMETHODCALLTYPE PostFree(BOOL) override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** sameBlock, BOOL) override
    {
        *sameBlock = block;
        return size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) override { return block; }
    void* STDMETHODCALLTYPE PreGetSize(void* block, BOOL) override { return block; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, BOOL) override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* block, BOOL) override { return block; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int answer) override { return answer; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}

  private:
    std::atomic<std::size_t> m_live = 0;
    std::atomic<unsigned> m_countdown = 0;
};

CMallocSpy& Spy()
{
    static CMallocSpy& spy = *new CMallocSpy;
    return spy;
}

}  // namespace

std::size_t host::LiveAllocations()
{
    return Spy().Live();
}

void host::FailAllocation(unsigned n)
{
    Spy().FailAfter(n);
}

bool host::IsFailurePending()
{
    return Spy().IsFailurePending();
}
