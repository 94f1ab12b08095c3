#include "fuzz/FuzzService.h"
#include "handlers/RadioHandler.h"
#include "support/ReceivedRecords.h"

namespace
{

void List(CFuzzCase& fuzz)
{
    RadioList list = {};
    fuzz.Request(&list);
    FreeReceived(list);
}

void WriteItem(CFuzzCase& fuzz)
{
    const CBStrOwner name = fuzz.Text();
    const std::uint8_t value = fuzz.Byte();
    auto data = fuzz.Block(fuzz.Byte());
    const RadioItem item = {0, value, name.get(), static_cast<std::uint8_t>(data.size()), data.data()};
    RadioItemRecord record = {0, &item};
    fuzz.Request(&record);
}

void Setting(CFuzzCase& fuzz)
{
    const CBStrOwner text = fuzz.Text();
    RadioSetting setting = {0,           fuzz.Byte(), fuzz.Byte(), {},           fuzz.Byte(),
                            fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Dword(), text.get()};
    fuzz.Request(&setting);
    if (setting.text != text.get())
        TakeText(setting.text);
}

const CFuzzService g_radio(0x3E, NewHandler<CRadioHandler>, {List, WriteItem, Setting});

}  // namespace
