#pragma once

#include "fuzz/FuzzChecks.h"
#include "handlers/base/ContentHandler.h"
#include "handlers/base/Owners.h"

#include <memory>
#include <vector>

/// One input of the handler fuzzer: a request with the phone's answers to it, or an indication, and the faults to meet.
///
///     resource byte
///     operation                    low byte of the request's API message id; 0: an indication
///     allocation that fails        1 is the first one; 0: none
///     send that fails              likewise
///     version of the service       0: the phone does not have it
///     time zone                    see FuzzCase.cpp
///     length of the seed, seed     what fills the caller's record
///     messages                     each one its id, the length of its body in two bytes, and the body, which may be
///                                  shorter; an indication is the first one
class CFuzzCase : public CDataSender
{
  public:
    CFuzzCase(const std::uint8_t* data, std::size_t size);

    std::uint8_t Resource() const { return m_resource; }
    std::uint8_t Operation() const { return m_operation; }
    bool IsIndication() const { return m_operation == 0; }
    std::uint32_t MessageId() const { return static_cast<std::uint32_t>(m_resource << 8 | m_operation); }

    // The seed, value by value; zeros after its end.
    std::uint8_t Byte();
    std::uint16_t Word() { return static_cast<std::uint16_t>(Byte() << 8 | Byte()); }
    std::uint32_t Dword() { return static_cast<std::uint32_t>(Word()) << 16 | Word(); }
    /// A text of up to 31 units; null for some seeds.
    CBStrOwner Text();
    /// A block of `size` bytes on the heap.
    std::vector<std::uint8_t> Block(std::size_t size);

    /// Names a second service that requests of this handler go to.
    void AllowResource(std::uint8_t resource) { m_otherResource = resource; }

    /// Runs the request with the faults of this input. The record's allocations belong to the caller then.
    std::uint32_t Request(void* record);

    // Used by the fuzzer.
    void Run(CContentHandler& handler, void (*request)(CFuzzCase&), void (*deliver)(std::uint32_t, void*));

    // The phone.
    std::uint32_t Send(CMessage& message, std::uint32_t timeoutMs) override;
    std::uint32_t SendRaw(std::uint32_t length, const std::uint8_t* bytes) override;
    std::uint32_t GetServiceVersion(std::uint8_t resource, std::uint8_t& major, std::uint8_t& minor) override;
    std::uint32_t GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second) override;

  private:
    bool SendFails();
    CMessage TakeMessage();
    void Indicate(void (*deliver)(std::uint32_t, void*));

    CMsgBase m_input;
    CMsgBase m_seed;
    CContentHandler* m_handler = nullptr;
    std::uint8_t m_resource;
    std::uint8_t m_otherResource;
    std::uint8_t m_operation;
    std::uint8_t m_failingAllocation;
    std::uint8_t m_failingSend;
    std::uint8_t m_version;
    std::uint8_t m_zone;
};
