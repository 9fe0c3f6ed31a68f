#pragma once

#include <memory>
#include <string>

#include "orvex/view/site.h"

namespace orvex::view {

// Carries requests of this machine to a site and its answers back.
class Server {
  public:
    // Port 0 takes any that is free. Throws std::runtime_error when it is taken.
    explicit Server(int port);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int port() const { return port_; }

    // Serves for as long as it exists; then all connections end.
    class Running {
      public:
        Running(Server& server, const Site& site);
        ~Running();
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

      private:
        Server& server_;
    };

  private:
    struct Carrier;
    std::unique_ptr<Carrier> carrier_;
    int port_ = 0;
};

}  // namespace orvex::view
