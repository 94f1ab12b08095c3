#pragma once

#include "fuzz/FuzzCase.h"

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

    CFuzzService(std::uint8_t resource, Create create, Request request, Deliver deliver = nullptr)
        : m_next(s_first), m_create(create), m_request(request), m_deliver(deliver), m_resource(resource)
    {
        s_first = this;
    }

    /// Runs an input with the handler that it names, if there is one.
    static void Run(CFuzzCase& fuzz)
    {
        for (const CFuzzService* service = s_first; service != nullptr; service = service->m_next)
            if (service->m_resource == fuzz.Resource())
                fuzz.Run(*service->m_create(), service->m_request, service->m_deliver);
    }

  private:
    static inline const CFuzzService* s_first = nullptr;

    const CFuzzService* m_next;
    Create m_create;
    Request m_request;
    Deliver m_deliver;
    std::uint8_t m_resource;
};

template <typename Handler>
std::unique_ptr<CContentHandler> NewHandler()
{
    return std::make_unique<Handler>();
}
