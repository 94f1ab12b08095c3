#pragma once

#include <windows.h>

#include <cstdint>

/// Counts who is inside an object, so that its owner can wait until nobody is, or leave the rest to whom leaves last.
class COccupancy
{
  public:
    /// Called when the last one has left.
    using Farewell = void (*)(void* owner);

    /// One who is inside, for as long as it lives.
    class Guest
    {
      public:
        explicit Guest(COccupancy& occupancy) : m_occupancy(occupancy) { m_occupancy.Enter(); }
        Guest(const Guest&) = delete;
        Guest& operator=(const Guest&) = delete;
        ~Guest() { m_occupancy.Leave(); }

      private:
        COccupancy& m_occupancy;
    };

    COccupancy() = default;
    COccupancy(const COccupancy&) = delete;
    COccupancy& operator=(const COccupancy&) = delete;

    void Enter();
    /// Once it has left, a guest must not touch the object again.
    void Leave();

    /// Waits until nobody is inside; false if that takes longer than `timeoutMs`.
    bool WaitUntilEmpty(std::uint32_t timeoutMs);

    /// Makes the last one that leaves call `farewell(owner)`. False, and nothing is called, if nobody is inside.
    bool LeaveToTheLast(Farewell farewell, void* owner);

  private:
    // Not a critical section: the owner may free this right after the last guest has let go of the lock.
    SRWLOCK m_lock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_emptied = CONDITION_VARIABLE_INIT;
    std::uint32_t m_guests = 0;
    Farewell m_farewell = nullptr;
    void* m_owner = nullptr;
};
