#pragma once

#include <string>
#include <string_view>

// Who may look, and who may change something.
namespace orvex::view {

enum class Role { stranger, guest, controller };

// Equal texts and unequal ones of the same length take the same time.
bool equal_secret(std::string_view one, std::string_view other);

// The server is reached by a name of this machine only. A page elsewhere whose name was made to
// point here sends that name.
bool is_own_host(std::string_view host);
// A browser tells of which page a request is, unless it is one that cannot change anything.
bool is_own_origin(std::string_view origin, std::string_view host);

// Two tokens of this run: one that may do everything, and one that may look.
class Access {
  public:
    // The port tells the cookies of two servers of this machine apart.
    explicit Access(int port);

    const std::string& controller_token() const { return controller_; }
    const std::string& guest_token() const { return guest_; }

    Role role_of_token(std::string_view token) const;
    // By the header Cookie of a request.
    Role role_of_cookies(std::string_view cookies) const;
    // The header Set-Cookie that gives a browser its token.
    std::string cookie(std::string_view token) const;

  private:
    std::string cookie_name_;
    std::string controller_;
    std::string guest_;
};

}  // namespace orvex::view
