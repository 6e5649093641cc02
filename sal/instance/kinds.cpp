#include "sal/instance/kinds.h"

#include <utility>

#include "sal/pattern.h"

namespace simcard::instance {
namespace {

using sal::contains;

// First match wins: a port mapping lies under a WAN connection, so it is
// tested before the WAN table.
constexpr std::pair<std::string_view, Kind> kKinds[] = {
    {"PortMapping.", Kind::kPortMapping},
    {kWanDeviceTable, Kind::kWanConnection},
    {"InternetGatewayDevice.LANDevice.1.WLANConfiguration.", Kind::kWlan},
    {"InternetGatewayDevice.X_CT-COM_UplinkQoS.", Kind::kUplinkQos},
};

// Bare table paths, compared exactly.
constexpr std::pair<std::string_view, Table> kTables[] = {
    {kWanDeviceTable, Table::kWanConnectionDevice},
    {"InternetGatewayDevice.LANDevice.1.WLANConfiguration.", Table::kWlanConfiguration},
    {"InternetGatewayDevice.X_CT-COM_UplinkQoS.App.", Table::kQosApp},
    {kQosClassificationTable, Table::kQosClassification},
    {"InternetGatewayDevice.X_CT-COM_UplinkQoS.PriorityQueue.", Table::kQosPriorityQueue},
};

}  // namespace

Kind kind_of(std::string_view uri) {
    for (const auto &[part, kind] : kKinds) {
        if (contains(uri, part)) {
            return kind;
        }
    }
    return Kind::kNone;
}

Table table_of(std::string_view uri) {
    for (const auto &[path, table] : kTables) {
        if (uri == path) {
            return table;
        }
    }
    if (contains(uri, kQosClassificationTable) && contains(uri, "type")) {
        return Table::kQosClassificationType;
    }
    return Table::kNone;
}

void cut_to_parent(std::string &path) {
    for (int cut = 0; cut < 2; ++cut) {
        const size_t dot = path.rfind('.');
        if (dot != std::string::npos) {
            path.resize(dot);
        }
    }
    const size_t dot = path.rfind('.');
    if (dot != std::string::npos) {
        path.resize(dot + 1);
    }
}

}  // namespace simcard::instance
