// All pages of the console, in the order of the navigation.
#ifndef CONSOLE_PAGES_H
#define CONSOLE_PAGES_H

#include "frame/console.h"

constexpr unsigned kMaxCertificate = 64 * 1024;
constexpr unsigned kMaxFirmware = 32 * 1024 * 1024;
constexpr unsigned kFormBytes = 8 * 1024;  // of a multipart form, besides the file

constexpr Page kOverview = {"overview", "Overview", kNobody, "overview.js", 0, 10};
constexpr Page kLan = {"lan", "LAN", kAdministrator};
constexpr Page kInternet = {"internet", "Internet", kAdministrator};
constexpr Page kVpn = {"vpn", "VPN", kAdministrator};
constexpr Page kCertificates = {"certificates", "Certificates", kAdministrator, "upload.js",
                                kMaxCertificate + kFormBytes};
constexpr Page kSchedules = {"schedules", "Schedules", kAdministrator};
constexpr Page kForwards = {"forwards", "Port forwards", kAdministrator};
constexpr Page kHosts = {"hosts", "Hosts", kAdministrator};
constexpr Page kAccount = {"account", "Account", kReadOnly};
constexpr Page kMaintenance = {"maintenance", "Maintenance", kAdministrator, "maintenance.js",
                               kMaxFirmware + kFormBytes};

constexpr const Page *kPages[] = {&kOverview,     &kLan,       &kInternet, &kVpn,
                                  &kCertificates, &kSchedules, &kForwards, &kHosts,
                                  &kAccount,      &kMaintenance};

#endif
