// SPDX-License-Identifier: MIT
// The pages of `show` other than that of the board, in the order in which `all` shows them.
#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

std::span<const Page> pages() {
    static const std::array kPages = {
        Page{"slots", "Own slot, peer master board, cards with their power", "slot", "3",
             slot_sections()},
        Page{"fans", "Fan trays and rotors: state, identity, speed", "tray", "2", fan_sections()},
        Page{"power", "Power supplies: state, identity, measurements; the system's figures",
             "supply", "1", power_sections()},
        Page{"temps", "Temperature sensors and thresholds", "card", "0", temperature_sections()},
        Page{"voltages", "Supply voltages of cards", "card", "0", voltage_sections()},
        Page{"leds", "LEDs: what they show and can show", "LED", "status", led_sections()},
        Page{"sfp", "SFP ports: modules and transmitters", "port", "1", sfp_sections()},
        Page{"backplane", "The backplanes' records", "backplane", "1", backplane_sections()},
        Page{"subcards", "Sub-cards: presence and identity", "sub-slot", "1", subcard_sections()},
        Page{"irq", "Interrupt sources: pending and masked", "source", "0.0.0", irq_sections()},
    };
    return kPages;
}

}  // namespace dfdctl
