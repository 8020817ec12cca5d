// Static routes: networks that are reached through another router of the local network.
#include "frame/check.h"
#include "lan.h"

namespace {

struct RouteFields {
    Field network;
    Field gateway;
};

constexpr RouteFields kRoutes[] = {
    {{"route1", "Network 1", "Such as 10.1.0.0/16. Empty: no route."}, {"gateway1", "Gateway 1"}},
    {{"route2", "Network 2"}, {"gateway2", "Gateway 2"}},
    {{"route3", "Network 3"}, {"gateway3", "Gateway 3"}},
};
constexpr size_t kCount = std::size(kRoutes);

struct Route {
    ipv4_cidr network;
    uint32_t gateway;
};

Route check_route(Console &console, const RouteFields &fields) {
    const Route route = {check_cidr(console, fields.network, true),
                         check_ipv4(console, fields.gateway, true)};
    const bool has_network = route.network.addr != 0;
    if (console.accepted() && has_network != (route.gateway != 0))
        console.refuse(has_network ? fields.gateway : fields.network,
                       "A route needs both a network and the gateway that leads there.");
    return route;
}

// A route that is not there leaves empty items.
void write(Console &console, const RouteFields &fields, const Route &route) {
    const std::string items = console.items("lan");
    const char *dir = items.c_str();
    const bool on = route.gateway != 0;
    console.wrote(fields.network.label,
                  on ? update_ipv4cidr_item(dir, fields.network.name, &route.network)
                     : update_textbox(dir, fields.network.name, "", 18));
    console.wrote(fields.gateway.label, update_optional_ipv4(items, fields.gateway, route.gateway));
}

void print_route(Console &console, const RouteFields &fields) {
    const std::string items = console.items("lan");
    const char *dir = items.c_str();
    print_str("<div class=\"pair\">\n");
    console.text_field(fields.network, 18, [&](const char *attributes) {
        ipv4_cidr network{};
        rd_ipv4cidr_item(dir, fields.network.name, &network, 0);
        const bool on = !console.item("lan", fields.network.name).empty();
        gen_xipv4cidr(-1, on ? &network : nullptr, 0, "%s", attributes);
    });
    console.text_field(fields.gateway, 15, [&](const char *attributes) {
        uint32_t gateway = 0;
        rd_ipv4box_item(dir, fields.gateway.name, &gateway, 0);
        gen_xipv4box(-1, gateway != 0 ? &gateway : nullptr, 0, "%s", attributes);
    });
    print_str("</div>\n");
}

}  // namespace

void save_routes(Console &console) {
    Route routes[kCount];
    for (size_t i = 0; i < kCount; ++i)
        routes[i] = check_route(console, kRoutes[i]);
    for (size_t i = 0; i < kCount && console.accepted(); ++i)
        write(console, kRoutes[i], routes[i]);
    console.report();
}

void print_routes(Console &console) {
    console.open_form("routes", "Static routes");
    for (const RouteFields &fields : kRoutes)
        print_route(console, fields);
    console.close_form("Save routes");
}
