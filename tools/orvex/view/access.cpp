#include "orvex/view/access.h"

#include <algorithm>
#include <random>

namespace orvex::view {

namespace {

std::string make_token() {
    constexpr std::string_view digits = "0123456789abcdef";
    constexpr size_t length = 32;
    std::random_device random;
    std::string token(length, '0');
    for (char& digit : token) digit = digits[random() % digits.size()];
    return token;
}

}  // namespace

bool equal_secret(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) return false;
    // So that the compiler does not leave the loop at the first difference.
    volatile unsigned char different = 0;
    for (size_t i = 0; i < one.size(); ++i) {
        different = different | static_cast<unsigned char>(one[i] ^ other[i]);
    }
    return different == 0;
}

bool is_own_host(std::string_view host) {
    const size_t colon = host.rfind(':');
    const bool has_port = colon != std::string_view::npos && host.back() != ']';
    const std::string_view name = has_port ? host.substr(0, colon) : host;
    if (has_port) {
        const std::string_view port = host.substr(colon + 1);
        if (port.empty() || port.size() > 5 ||
            !std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            return false;
        }
    }
    // The port may be another one: that of the near end of a tunnel.
    return name == "127.0.0.1" || name == "localhost" || name == "[::1]";
}

bool is_own_origin(std::string_view origin, std::string_view host) {
    return origin == "http://" + std::string(host);
}

Access::Access(int port)
    : cookie_name_("orvex-view-" + std::to_string(port)),
      controller_(make_token()),
      guest_(make_token()) {}

Role Access::role_of_token(std::string_view token) const {
    // Both are compared in any case.
    const bool controller = equal_secret(token, controller_);
    const bool guest = equal_secret(token, guest_);
    if (controller) return Role::controller;
    return guest ? Role::guest : Role::stranger;
}

Role Access::role_of_cookies(std::string_view cookies) const {
    while (!cookies.empty()) {
        const size_t end = std::min(cookies.find(';'), cookies.size());
        std::string_view one = cookies.substr(0, end);
        cookies.remove_prefix(std::min(end + 1, cookies.size()));
        one.remove_prefix(std::min(one.find_first_not_of(' '), one.size()));
        const size_t equals = one.find('=');
        if (equals == std::string_view::npos || one.substr(0, equals) != cookie_name_) continue;
        return role_of_token(one.substr(equals + 1));
    }
    return Role::stranger;
}

std::string Access::cookie(std::string_view token) const {
    return cookie_name_ + "=" + std::string(token) + "; Path=/; HttpOnly; SameSite=Strict";
}

}  // namespace orvex::view
