#include <cstdint>
#include <cstdlib>
#include <string>

#include "orvex/view/picture.h"
#include "orvex/view/site.h"

namespace {

using namespace orvex::view;

// A camera that takes every command.
class Anything : public Control {
  public:
    nlohmann::json act(const Command& /*command*/) override {
        ++acted;
        return nlohmann::json::object();
    }
    nlohmann::json state(const Seen& /*seen*/) const override { return nlohmann::json::object(); }
    nlohmann::json parameters() const override { return nlohmann::json::array(); }
    nlohmann::json program() const override { return nlohmann::json::object(); }
    std::string file_path(const std::string& /*name*/) const override { return {}; }

    int acted = 0;
};

// Takes the input apart into lines.
class Lines {
  public:
    Lines(const uint8_t* data, size_t size)
        : rest_(data ? reinterpret_cast<const char*>(data) : "", size) {}
    std::string next() {
        const size_t end = std::min(rest_.find('\n'), rest_.size());
        std::string line(rest_.substr(0, end));
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return line;
    }
    std::string rest() const { return std::string(rest_); }

  private:
    std::string_view rest_;
};

struct Served {
    Served() {
        auto frame = board.blank();
        frame->size = {9, 7};
        frame->pixels.assign(63, 1000);
        board.show(std::move(frame));
        // Nobody waits for a newer one.
        board.close();
    }

    Access access{1};
    Anything control;
    FrameBoard board;
    Site site{access, control, board};
};

}  // namespace

// Any request: method, path, one member of the query, host, origin and cookie in a line each, then
// a body. The first character of the input tells who asks.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Served served;
    Lines lines(data, size);
    Request request;
    const std::string who = lines.next();
    request.method = lines.next();
    request.path = lines.next();
    const std::string name = lines.next();
    request.query.emplace(name, lines.next());
    request.host = lines.next();
    request.origin = lines.next();
    request.cookies = lines.next();
    request.body = lines.rest();
    const bool stranger = who != "c" && who != "g";
    if (!stranger) {
        request.host = "localhost";
        request.origin.clear();
        request.content_type = "application/json";
        request.cookies = served.access.cookie(who == "c" ? served.access.controller_token()
                                                          : served.access.guest_token());
        request.cookies.resize(request.cookies.find(';'));
    }
    const int before = served.control.acted;
    const Answer answer = served.site.answer(request);
    if (stranger && answer.status != 403) std::abort();
    if (who != "c" && served.control.acted != before) std::abort();
    return 0;
}
