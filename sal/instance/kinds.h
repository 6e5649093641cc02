// Classification of data-model paths into instance kinds and object tables.
#ifndef SIMCARD_SAL_INSTANCE_KINDS_H
#define SIMCARD_SAL_INSTANCE_KINDS_H

#include <string>
#include <string_view>

namespace simcard::instance {

// The values are those of getMulInstanceUriType.
enum class Kind : int {
    kWanConnection = 0,
    kWlan = 1,
    kUplinkQos = 2,
    kPortMapping = 3,
    kNone = 4,
};

// The values are those of checkMulInstanceUri.
enum class Table : int {
    kNone = 0,
    kWanConnectionDevice = 1,
    kWlanConfiguration = 2,
    kQosApp = 3,
    kQosClassification = 4,
    kQosPriorityQueue = 5,
    kQosClassificationType = 6,
};

inline constexpr std::string_view kWanDeviceTable =
    "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.";
inline constexpr std::string_view kQosClassificationTable =
    "InternetGatewayDevice.X_CT-COM_UplinkQoS.Classification.";

Kind kind_of(std::string_view uri);
Table table_of(std::string_view uri);

// Cuts an instance path back to its parent table: the last two dots go, and
// the text then ends just after the dot before them (when there is one).
void cut_to_parent(std::string &path);

}  // namespace simcard::instance

#endif  // SIMCARD_SAL_INSTANCE_KINDS_H
