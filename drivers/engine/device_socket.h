#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include "orvex/orvex_ddi.h"

namespace engine {

// What takes the messages of a device file. Called with its lock held.
class MessageTaker {
  public:
    virtual void Take(const dv_file_request& message) = 0;
    // All that had come was taken.
    virtual void Taken() = 0;
    // Who sent them has gone, or another one has come in its place.
    virtual void HostGone() = 0;

  protected:
    ~MessageTaker() = default;
};

// The socket that stands in the file system for the device file of a camera. As it is written here
// it serves systems without such sockets: nobody ever connects. All but Listen(), Close() and
// Drain() are for who holds the taker's lock.
class DeviceSocket {
  public:
    DeviceSocket() = default;
    virtual ~DeviceSocket() = default;
    DeviceSocket(const DeviceSocket&) = delete;
    DeviceSocket& operator=(const DeviceSocket&) = delete;

    virtual bool Listen(const std::string& /*path*/) { return true; }
    // After Stop(): waits until nothing is taken or sent any more.
    virtual void Close() {}
    // Begins to close, without a word to who is connected.
    virtual void Stop() {}

    virtual bool Connected() const { return false; }
    virtual void Disconnect() {}
    // Whoever waits to connect takes the place of the one before.
    virtual void Accept() {}
    // Takes what has arrived; false when the other end is gone.
    virtual bool Receive() { return true; }
    // Puts a message behind those to be sent.
    virtual void Send(const dv_file_completion& /*message*/) {}
    // Sends a single message from here, where that saves the time in which the socket's thread
    // would wake up; leaves more to that thread.
    virtual void SendAtOnce() {}
    // Has the thread look for what there is to send and to take.
    virtual void Wake() {}
    // Waits until all is sent, but not for ever.
    virtual void Drain(std::chrono::milliseconds /*limit*/) {}
};

// What this system has.
std::unique_ptr<DeviceSocket> MakeDeviceSocket(std::mutex& lock, MessageTaker& taker);

}  // namespace engine
