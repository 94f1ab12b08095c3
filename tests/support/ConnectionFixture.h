#pragma once

#include "connection/VorlanControl.h"
#include "support/Bytes.h"
#include "support/ComApartment.h"
#include "support/FakeLinkService.h"
#include "support/Recorder.h"

#include <gmock/gmock.h>

#include <thread>
#include <utility>

/// An application of the multithreaded apartment with a link service and targets.
class ConnectionFixture : public testing::Test
{
  protected:
    /// A phone message as an event carries it.
    static Bytes Indication(std::uint8_t id, const Bytes& body)
    {
        Bytes bytes = {0x11, 0x22, 0x33, id};
        for (const std::uint8_t value : body)
            bytes.push_back(value);
        return bytes;
    }
    /// A messaging event.
    void RaiseEvent(std::uint8_t number) { m_service.RaiseMessage(0x66, Indication(0x84, {number})); }

    /// Runs `body` on a thread of the multithreaded apartment.
    template <typename Body>
    static std::thread OnThread(Body body)
    {
        return std::thread([body = std::move(body)]() mutable {
            const ComApartment apartment;
            body();
        });
    }

    static constexpr std::uint8_t kQueried[] = {25, 57, 62, 34, 19, 20, 2, 3, 170, 1, 6};
    static constexpr auto kFailure = static_cast<HRESULT>(0x80040123);

    ComApartment m_apartment;
    FakeLinkService m_service;
    Recorder m_recorder;
};
