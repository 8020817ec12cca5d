// All pages of the console, in the order of the navigation.
#ifndef CONSOLE_PAGES_H
#define CONSOLE_PAGES_H

#include "frame/console.h"

constexpr unsigned kMaxHosts = 8000;  // characters
constexpr unsigned kMaxCertificate = 64 * 1024;
constexpr unsigned kMaxFirmware = 32 * 1024 * 1024;

constexpr Page kOverview = {.name = "overview", .title = "Overview", .scripts = {"overview.js"}};
constexpr Page kLan = {.name = "lan", .title = "LAN", .may_post = kAdministrator};
constexpr Page kInternet = {.name = "internet", .title = "Internet", .may_post = kAdministrator};
constexpr Page kVpn = {.name = "vpn", .title = "VPN", .may_post = kAdministrator};
constexpr Page kCertificates = {.name = "certificates",
                                .title = "Certificates",
                                .may_post = kAdministrator,
                                .scripts = {"upload.js"},
                                .max_bytes = kMaxCertificate};
constexpr Page kSchedules = {.name = "schedules", .title = "Schedules", .may_post = kAdministrator};
constexpr Page kForwards = {
    .name = "forwards", .title = "Port forwards", .may_post = kAdministrator};
constexpr Page kHosts = {.name = "hosts", .title = "Hosts", .may_post = kAdministrator};
constexpr Page kAccount = {.name = "account", .title = "Account", .may_post = kReadOnly};
constexpr Page kMaintenance = {.name = "maintenance",
                               .title = "Maintenance",
                               .may_post = kAdministrator,
                               .scripts = {"upload.js", "message.js"},
                               .max_bytes = kMaxFirmware};

constexpr const Page *kPages[] = {&kOverview,  &kLan,      &kInternet, &kVpn,     &kCertificates,
                                  &kSchedules, &kForwards, &kHosts,    &kAccount, &kMaintenance};

#endif
