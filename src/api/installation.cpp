#include <cstdio>
#include <optional>
#include <string>

#include "orvex/orvex_errors.h"

#include "api/lifecycle.h"
#include "platform/registry.h"
#include "platform/system.h"

namespace {

constexpr const char* installation_key = "SOFTWARE\\Brelvane\\ORVEX";
constexpr const char* version_value = "Current Version";
constexpr const char* notification_value = "Notification";
constexpr size_t value_bytes = 1024;

struct Version {
    unsigned major, minor, patch, build;

    bool fits() const { return major < 256 && minor < 16 && patch < 16 && build < 65536; }
};

std::optional<Version> ParseVersion(const std::string& text) {
    Version v{};
    if (std::sscanf(text.c_str(), "%u.%u.%u.%u", &v.major, &v.minor, &v.patch, &v.build) != 4) {
        return std::nullopt;
    }
    return v;
}

}  // namespace

boolean16 oz_orvex_get_ver(uns16* pMajorVer, uns16* pMinorVer, uns16* pPatchVer, uns16* pBuildVer) {
    bv::Call call("oz_orvex_get_ver", bv::arg("pMajorVer", pMajorVer),
                  bv::arg("pMinorVer", pMinorVer), bv::arg("pPatchVer", pPatchVer),
                  bv::arg("pBuildVer", pBuildVer));
    const auto key = platform::RegistryKey::Open(installation_key);
    if (!key) {
        return call.fail(C0_UNKNOWN_ERROR, "Cannot open registry key with version at '[HKLM]\\%s'",
                         installation_key);
    }
    const auto text = key->Text(version_value, value_bytes);
    if (!text) {
        return call.fail(C0_UNKNOWN_ERROR, "Cannot get version from registry at '[HKLM]\\%s\\%s'",
                         installation_key, version_value);
    }
    const auto version = ParseVersion(*text);
    if (!version) {
        return call.fail(C0_UNKNOWN_ERROR, "Cannot parse all four version tokens from value '%s'",
                         text->c_str());
    }
    if (!version->fits()) call.warn("Version part(s) out of range (8-4-4-16 bits)");
    *pMajorVer = static_cast<uns16>(version->major);
    *pMinorVer = static_cast<uns16>(version->minor);
    *pPatchVer = static_cast<uns16>(version->patch);
    *pBuildVer = static_cast<uns16>(version->build);
    return call.ok(bv::arg("*pMajorVer", *pMajorVer), bv::arg("*pMinorVer", *pMinorVer),
                   bv::arg("*pPatchVer", *pPatchVer), bv::arg("*pBuildVer", *pBuildVer));
}

boolean16 orvex_get_ver(uns16* orvex_version) {
    uns16 major = 0, minor = 0, patch = 0, build = 0;
    if (!oz_orvex_get_ver(&major, &minor, &patch, &build)) return bv::OZ_FAIL;
    *orvex_version = static_cast<uns16>(major << 8 | (minor & 15) << 4 | (patch & 15));
    return bv::OZ_OK;
}

void oz_orvex_notify_user() {
    bv::Call call("oz_orvex_notify_user");
    const auto key = platform::RegistryKey::Open(installation_key);
    if (!key) return;
    const auto text = key->Text(notification_value, value_bytes);
    if (text) platform::ShowNotice("ORVEX Notification", text->c_str());
}
