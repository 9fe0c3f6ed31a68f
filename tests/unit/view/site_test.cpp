#include "orvex/view/site.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex::view {
namespace {

using nlohmann::json;
using testing::HasSubstr;

// Notes what it is asked for.
class FakeControl : public Control {
  public:
    json act(const Command& command) override {
        ++acted;
        if (std::holds_alternative<Stop>(command)) throw std::runtime_error("there is no camera");
        return json::object();
    }
    json state(const Seen& seen) const override { return {{"seen", seen.lines}}; }
    json parameters() const override { return json::array(); }
    json program() const override { return json::object(); }
    std::string file_path(const std::string& name) const override {
        return name == "one.tif" ? "/folder/one.tif" : "";
    }

    int acted = 0;
};

class SiteTest : public testing::Test {
  protected:
    Request get(const std::string& path, const std::string& token) const {
        Request out;
        out.method = "GET";
        out.path = path;
        out.host = "127.0.0.1:4000";
        out.cookies = "other=1; orvex-view-4000=" + token;
        return out;
    }
    Request post(const std::string& body, const std::string& token) const {
        Request out = get("/command", token);
        out.method = "POST";
        out.origin = "http://127.0.0.1:4000";
        out.content_type = "application/json";
        out.body = body;
        return out;
    }
    int status(const Request& request) const { return site_.answer(request).status; }

    Access access_{4000};
    FakeControl control_;
    FrameBoard board_;
    Site site_{access_, control_, board_};
    const std::string controller_ = access_.controller_token();
    const std::string guest_ = access_.guest_token();
};

TEST_F(SiteTest, WithoutATokenThereIsNothing) {
    std::string near = controller_;
    near[0] = near[0] == 'a' ? 'b' : 'a';
    for (const char* path : {"/", "/index.html", "/state", "/picture", "/parameters", "/program",
                             "/files/one.tif", "/nothing"}) {
        for (const std::string& token :
             {std::string(), near, controller_ + "0", controller_.substr(1)}) {
            const Answer answer = site_.answer(get(path, token));
            EXPECT_EQ(answer.status, 403) << path;
            EXPECT_THAT(answer.body, HasSubstr("Open the address"));
        }
    }
    EXPECT_EQ(status(post(R"({"do": "start"})", "")), 403);
    EXPECT_EQ(control_.acted, 0);
    // A cookie of another server of this machine.
    Request other = get("/state", "");
    other.cookies = "orvex-view-4001=" + controller_;
    EXPECT_EQ(status(other), 403);
}

TEST_F(SiteTest, TheAddressIsTradedForACookie) {
    Request first = get("/", "");
    first.query = {{"token", guest_}};
    const Answer answer = site_.answer(first);
    EXPECT_EQ(answer.status, 200);
    ASSERT_EQ(answer.headers.size(), 1u);
    EXPECT_EQ(answer.headers[0].second,
              "orvex-view-4000=" + guest_ + "; Path=/; HttpOnly; SameSite=Strict");
    // In no other place does an address open anything.
    Request elsewhere = get("/state", "");
    elsewhere.query = {{"token", controller_}};
    EXPECT_EQ(status(elsewhere), 403);
}

TEST_F(SiteTest, GuestsLookAndChangeNothing) {
    EXPECT_EQ(status(get("/", guest_)), 200);
    EXPECT_EQ(json::parse(site_.answer(get("/state", guest_)).body)["role"], "guest");
    EXPECT_EQ(status(get("/files/one.tif", guest_)), 404);
    EXPECT_EQ(status(post(R"({"do": "start"})", guest_)), 403);
    EXPECT_EQ(control_.acted, 0);
    EXPECT_EQ(site_.answer(get("/files/one.tif", controller_)).file, "/folder/one.tif");
    EXPECT_EQ(status(get("/files/../one.tif", controller_)), 404);
}

TEST_F(SiteTest, OtherNamesAndOriginsAreRefused) {
    for (const char* host : {"", "evil.example", "evil.example:4000", "127.0.0.1.evil.example",
                             "127.0.0.1:", "127.0.0.1:40x0", "localhost:123456"}) {
        Request request = get("/state", controller_);
        request.host = host;
        EXPECT_EQ(status(request), 403) << host;
    }
    // The near end of a tunnel has a port of its own.
    for (const char* host : {"localhost:8080", "[::1]:8080", "127.0.0.1"}) {
        Request request = get("/state", controller_);
        request.host = host;
        EXPECT_EQ(status(request), 200) << host;
    }
    for (const char* origin :
         {"null", "https://127.0.0.1:4000", "http://127.0.0.1:4001", "http://evil.example"}) {
        Request request = post(R"({"do": "start"})", controller_);
        request.origin = origin;
        EXPECT_EQ(status(request), 403) << origin;
    }
    EXPECT_EQ(control_.acted, 0);
}

TEST_F(SiteTest, CommandsAreJson) {
    EXPECT_EQ(status(post(R"({"do": "start"})", controller_)), 200);
    EXPECT_EQ(control_.acted, 1);
    Request form = post(R"({"do": "start"})", controller_);
    form.content_type = "text/plain";
    EXPECT_EQ(status(form), 415);
    Request packed = post(R"({"do": "start"})", controller_);
    packed.content_encoding = "gzip";
    EXPECT_EQ(status(packed), 415);
    EXPECT_EQ(status(post(std::string(Site::longest_body + 1, ' '), controller_)), 413);
    Request put = post("{}", controller_);
    put.method = "PUT";
    EXPECT_EQ(status(put), 405);
    EXPECT_EQ(control_.acted, 1);
    const Answer refused = site_.answer(post(R"({"do": "stop"})", controller_));
    EXPECT_EQ(refused.status, 409);
    EXPECT_EQ(json::parse(refused.body)["error"], "there is no camera");
}

TEST(Commands, AreReadExactly) {
    const auto change = std::get<Change>(parse_command(
        R"({"do": "change", "exposure_ms": 2.5, "regions": [[1, 2, 3, 4]], "binning": [2, 1]})"));
    EXPECT_EQ(change.exposure_ms, 2.5);
    ASSERT_EQ(change.regions->size(), 1u);
    EXPECT_EQ(change.regions->at(0).height, 4);
    EXPECT_EQ(change.binning->rows, 1);
    EXPECT_FALSE(change.mode);
    EXPECT_EQ(std::get<SetParameter>(
                  parse_command(R"({"do": "set", "parameter": "temp", "value": "-15"})"))
                  .value,
              "-15");
    EXPECT_EQ(
        std::get<Record>(parse_command(R"({"do": "record", "format": "raw", "frames": 7})")).frames,
        7u);
}

TEST(Commands, SayWhatIsWrongAndWhatIsPossible) {
    const std::pair<const char*, const char*> wrong[] = {
        {"", "not JSON"},
        {"[]", "JSON object"},
        {"{}", "'do' has to be a text"},
        {R"({"do": "explode"})", "take start, stop, snap, record, change or set"},
        {R"({"do": "start", "at": 1})", "does not know"},
        {R"({"do": "snap", "format": "gif"})", "there is no format 'gif'"},
        {R"({"do": "record", "format": "png"})", ".raw"},
        {R"({"do": "record", "format": "raw", "frames": -1})", "whole numbers"},
        {R"({"do": "change", "exposure_ms": "10"})", "number of milliseconds"},
        {R"({"do": "change", "exposure_ms": -1})", "number of milliseconds"},
        {R"({"do": "change", "regions": [[0, 0, 0, 5]]})", "x, y, width and height"},
        {R"({"do": "change", "regions": [[65535, 0, 2, 5]]})", "x, y, width and height"},
        {R"({"do": "change", "regions": [[1, 2, 3]]})", "takes 4 numbers"},
        {R"({"do": "change", "binning": [0, 1]})", "begins at 1"},
        {R"({"do": "change", "binning": [1, 65536]})", "whole numbers from 0 to 65535"},
        {R"({"do": "set", "parameter": "temp"})", "'value' has to be a text"}};
    for (const auto& [body, text] : wrong) {
        try {
            parse_command(body);
            ADD_FAILURE() << body;
        } catch (const std::invalid_argument& refusal) {
            EXPECT_THAT(refusal.what(), HasSubstr(text)) << body;
        }
    }
}

}  // namespace
}  // namespace orvex::view
