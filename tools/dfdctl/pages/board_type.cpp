// SPDX-License-Identifier: MIT
// How board type and chassis type were found out.
#include <dfd/framework.h>
#include <dfd/inventory.h>
#include <dfd/records.h>
#include <cstddef>
#include <fstream>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/pages/board_page.hpp"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

std::string product_id() {
    std::ifstream file(dfd::kProductIdFile);
    std::string text;
    std::getline(file, text);
    return text;
}

std::string no_product_id() {
    const std::string text = product_id();
    return text.empty() ? fmt::format("{} is missing or empty", dfd::kProductIdFile)
                        : fmt::format("\"{}\" of {} is not in the card PID table", text,
                                      dfd::kProductIdFile);
}

std::string eeprom_place() {
    return fmt::format("EEPROM at address 0x{:02x} on {}", dfd::kBoardE2promAddr, dfd::kBoardBus);
}

TypeFound by_tlv(const BoardHeader &header, int type) {
    const char *field =
        header.type_byte == dfd::tlv::kTypeInEntry ? "entry of type 6" : "byte 3 of the header";
    return {type, TypeSource::eeprom_tlv,
            fmt::format("{} of the TLV image, version {}, in the {}; {}", field, header.layout,
                        eeprom_place(), no_product_id())};
}

TypeFound by_legacy(const BoardHeader &header, int type) {
    const std::string bytes =
        header.layout == 1
            ? fmt::format("byte 3 = 0x{:02x}, byte 64 = 0x{:02x}", header.type_byte,
                          header.sub_type_byte)
            : fmt::format("byte 3 = {}, byte 7 = {}", header.type_byte, header.addend_byte);
    return {type, TypeSource::eeprom_legacy,
            fmt::format("legacy layout {} ({}) in the {}; {}", header.layout, bytes, eeprom_place(),
                        no_product_id())};
}

TypeFound not_found(int type, const std::optional<BoardHeader> &header) {
    const std::string eeprom =
        header ? fmt::format("holds no board type (byte 0 = 0x{:02x}, byte 1 = 0x{:02x})",
                             header->layout, header->flag)
               : std::string("does not answer");
    return {type, TypeSource::none,
            fmt::format("{}; the {} {}", no_product_id(), eeprom_place(), eeprom)};
}

}  // namespace

TypeFound find_board_type() {
    const int type = sdd_get_my_card_type();
    if (dfd_dev_type_from_product_id() > 0) {
        return {type, TypeSource::product_id,
                fmt::format("product identifier \"{}\" in {}", product_id(), dfd::kProductIdFile)};
    }
    const auto header = read_board_header();
    if (type <= 0 || !header) {
        return not_found(type, header);
    }
    return header->is_tlv() ? by_tlv(*header, type) : by_legacy(*header, type);
}

TypeFound find_chassis_type() {
    const int type = sdd_get_my_chassis_type();
    std::string unread;
    for (std::uint32_t source = dfd::kFirstBackplane; source <= dfd::kLastBackplane; ++source) {
        const Item item = item_of(DFD_KEY_E2_SETMAC, source);
        backplane_info_t record = {};
        const int result = get_backplane_info_from_e2(source, &record);
        if (result == DFD_ERR_NOT_SUPPORTED) {
            return {type, TypeSource::board_type,
                    fmt::format("the board type, for {}{} is not configured", unread, item.name())};
        }
        if (result >= 0) {
            const std::string blank = blankness({reinterpret_cast<const std::uint8_t *>(&record),
                                                 offsetof(backplane_info_t, reserved)});
            return {type, TypeSource::backplane,
                    fmt::format("byte 0 of {} ({}){}", item.name(), describe(item),
                                blank.empty() ? "" : ", which is " + blank)};
        }
        unread = fmt::format("{} ({}) cannot be read and ", item.name(), describe(item));
    }
    return {type, TypeSource::none, "neither e2_setmac_1 nor e2_setmac_2 can be read"};
}

}  // namespace dfdctl
