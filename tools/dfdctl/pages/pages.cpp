// SPDX-License-Identifier: MIT
// The pages of `show` other than that of the board, in the order in which `all` shows them.
#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

std::span<const Page> pages() {
    static const std::array kPages = {
        Page{"slots", "Own slot, peer master board, cards with their power", slot_sections()},
        Page{"fans", "Fan trays and rotors: state, identity, speed", fan_sections()},
        Page{"power", "Power supplies: state, identity, measurements; the system's figures",
             power_sections()},
        Page{"temps", "Temperature sensors and thresholds", temperature_sections()},
        Page{"voltages", "Supply voltages of cards", voltage_sections()},
        Page{"leds", "LEDs: what they show and can show", led_sections()},
        Page{"sfp", "SFP ports: modules and transmitters", sfp_sections()},
        Page{"backplane", "The backplanes' records", backplane_sections()},
        Page{"subcards", "Sub-cards: presence and identity", subcard_sections()},
        Page{"irq", "Interrupt sources: pending and masked", irq_sections()},
    };
    return kPages;
}

}  // namespace dfdctl
