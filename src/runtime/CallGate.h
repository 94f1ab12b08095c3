#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

/// Counts the calls that are inside an object, so that its owner can wait for them before it goes.
class CCallGate
{
  public:
    /// One call, for as long as it lives.
    class Call
    {
      public:
        explicit Call(CCallGate& gate) : m_gate(gate) { ++m_gate.m_calls; }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call() { --m_gate.m_calls; }

      private:
        CCallGate& m_gate;
    };

    /// Waits until no call is inside, at most `timeoutMs`.
    void WaitUntilEmpty(std::uint32_t timeoutMs) const
    {
        for (std::uint32_t waited = 0; m_calls != 0 && waited < timeoutMs; ++waited)
            Sleep(1);
    }

  private:
    std::atomic<std::uint32_t> m_calls = 0;
};
