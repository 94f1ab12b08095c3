#pragma once

#include "fuzz/FuzzCase.h"

#include <algorithm>
#include <cstring>
#include <utility>

/// Puts a handler under the fuzzer; each file in services/ defines one such object.
class CFuzzService
{
  public:
    using Create = std::unique_ptr<CContentHandler> (*)();
    /// Prepares the record of a request from the input's seed, sends it with CFuzzCase::Request, and reads and frees
    /// what the record holds then.
    using Request = void (*)(CFuzzCase&);
    /// Reads the record of an indication. What FreeDecodedData leaves to the receiver is freed here.
    using Deliver = void (*)(std::uint32_t messageId, void* record);

    /// The requests stand in the order of their operations, from 1 on; the last one serves all that follow, too.
    CFuzzService(std::uint8_t resource, Create create, std::vector<Request> requests, Deliver deliver = nullptr)
        : m_next(s_first), m_create(create), m_requests(std::move(requests)), m_deliver(deliver), m_resource(resource)
    {
        s_first = this;
    }

    /// Runs an input with the handler that it names, if there is one.
    static void Run(CFuzzCase& fuzz)
    {
        for (const CFuzzService* service = s_first; service != nullptr; service = service->m_next)
            if (service->m_resource == fuzz.Resource())
                fuzz.Run(*service->m_create(), service->RequestOf(fuzz.Operation()), service->m_deliver);
    }

  private:
    /// 0 is an indication.
    Request RequestOf(std::size_t operation) const
    {
        return m_requests[std::clamp<std::size_t>(operation, 1, m_requests.size()) - 1];
    }

    static inline const CFuzzService* s_first = nullptr;

    const CFuzzService* m_next;
    Create m_create;
    std::vector<Request> m_requests;
    Deliver m_deliver;
    std::uint8_t m_resource;
};

template <typename Handler>
std::unique_ptr<CContentHandler> NewHandler()
{
    return std::make_unique<Handler>();
}

/// A request with a record that holds nothing to be freed.
template <typename Record>
void RequestPlain(CFuzzCase& fuzz)
{
    Record record = {};
    const auto bytes = fuzz.Block(sizeof record);
    std::memcpy(&record, bytes.data(), bytes.size());
    fuzz.Request(&record);
    Touch(&record, sizeof record);
}
