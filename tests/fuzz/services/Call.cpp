#include "fuzz/FuzzService.h"
#include "handlers/CallHandler.h"
#include "zelapi/call.h"

namespace
{

bool HoldsText(const CallElement& element)
{
    return element.id == ZEL_CALL_FIRST_NUMBER || element.id == ZEL_CALL_NUMBER || element.id == ZEL_CALL_TEXT;
}

/// What the library leaves to the application: the texts.
void TakeTexts(const CallElement* elements, std::uint8_t count)
{
    Touch(elements, count * sizeof *elements);
    for (std::uint8_t i = 0; i < count; ++i)
        if (HoldsText(elements[i]))
            TakeText(elements[i].value.text);
}

CallElement Element(CFuzzCase& fuzz)
{
    CallElement element = {};
    element.id = fuzz.Byte() % 16;
    element.p0 = fuzz.Byte();
    element.p1 = fuzz.Byte();
    element.p2 = fuzz.Byte();
    element.p3 = fuzz.Byte();
    if (HoldsText(element))
        element.value.text = fuzz.Text().release();
    return element;
}

void QueryStatus(CFuzzCase& fuzz)
{
    CallElement before = {};
    CallRecord record = {0, fuzz.Byte(), fuzz.Byte(), 0, &before};
    fuzz.Request(&record);
    if (record.elements == &before)
        return Require(record.returned == 0, "elements come with their number");
    TakeTexts(record.elements, record.returned);
    CoTaskMemFree(record.elements);
}

void Request(CFuzzCase& fuzz)
{
    CallRecord record = {0, fuzz.Byte(), static_cast<std::uint8_t>(fuzz.Byte() % 8), 0, nullptr};
    std::vector<CallElement> elements;
    for (std::uint8_t i = 0; i < record.count_or_mode; ++i)
        elements.push_back(Element(fuzz));
    record.elements = elements.data();
    fuzz.Request(&record);
    TakeTexts(elements.data(), record.count_or_mode);
}

void Deliver(std::uint32_t, void* record)
{
    const auto& call = *static_cast<const CallRecord*>(record);
    Require(call.call_id < 8, "an indication names one of eight calls");
    TakeTexts(call.elements, call.count_or_mode);
}

const CFuzzService g_call(0x01, NewHandler<CCallHandler>, {Request, Request, Request, QueryStatus, Request}, Deliver);

}  // namespace
