// Conversion between card values (simv) and data-model values (dbv).
#ifndef SIMCARD_SAL_MAPPING_H
#define SIMCARD_SAL_MAPPING_H

#include <array>
#include <cstddef>
#include <string_view>

#include "simcard/simcard_sal.h"

namespace simcard::sal {

// Output sizes the callers use: the loader's data-model buffer and the set's
// card-value buffer. The C entry points assume them.
constexpr size_t kDbValueSize = 1024;
constexpr size_t kSimValueSize = 256;
// Rules longer than this are cut to it.
constexpr size_t kRuleMaxLength = 255;

// One bit of the LAN interface mask per path, bit 0 first.
constexpr std::array<std::string_view, 12> kLanInterfacePaths = {
    "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.1",
    "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.2",
    "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.3",
    "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.4",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.2",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.3",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.4",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.5",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.6",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.7",
    "InternetGatewayDevice.LANDevice.1.WLANConfiguration.8",
};

// Card value to data-model value by `rule` into out (cap bytes, zeroed by
// the caller). A list rule that matches nothing leaves out as it is.
int sim_to_db(const char *simv, const char *rule, char *out, size_t cap);
// Data-model value to card value; a list rule writes one byte and no
// terminator.
int db_to_sim(const char *dbv, const char *rule, char *out, size_t cap);

// The callback row named exactly `name`, or null.
simv2dbv_cb_t *find_callback(const char *name);

// Mask to comma-separated paths, appended to what out holds.
int lan_sim_to_db(const char *simv, char *out, size_t cap);
// Paths found anywhere in dbv to the mask, in decimal.
int lan_db_to_sim(const char *dbv, char *out, size_t cap);

bool is_digit_string(const char *text);

}  // namespace simcard::sal

#endif  // SIMCARD_SAL_MAPPING_H
