#include "orvex/view/site.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "orvex/view/page.h"
#include "orvex/view/picture.h"

namespace orvex::view {

namespace {

constexpr const char* json_type = "application/json";

Answer text_answer(int status, const std::string& text) {
    return {status, "text/plain; charset=utf-8", text + "\n", {}, {}};
}

Answer json_answer(const nlohmann::json& json, int status = 200) {
    // Texts of a camera need not be UTF-8.
    constexpr auto replace = nlohmann::json::error_handler_t::replace;
    return {status, json_type, json.dump(-1, ' ', false, replace), {}, {}};
}

Answer error_answer(int status, const std::string& text) {
    return json_answer({{"error", text}}, status);
}

uint64_t number_of(const Query& query, const char* name) {
    const auto at = query.find(name);
    uint64_t value = 0;
    if (at == query.end()) return 0;
    const std::string& text = at->second;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::invalid_argument(std::string("'") + name + "' takes a whole number");
    }
    return value;
}

const PageFile* find_page_file(const std::string& path) {
    const std::string wanted = path == "/" ? "/index.html" : path;
    const auto files = page_files();
    const auto at = std::find_if(files.begin(), files.end(),
                                 [&](const PageFile& file) { return wanted == file.path; });
    return at == files.end() ? nullptr : &*at;
}

}  // namespace

Site::Site(const Access& access, Control& control, FrameBoard& board)
    : access_(access), control_(control), board_(board) {}

const std::vector<std::pair<std::string, std::string>>& Site::headers() {
    static const std::vector<std::pair<std::string, std::string>> all = {
        {"Content-Security-Policy",
         "default-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"},
        {"X-Frame-Options", "DENY"},
        {"Cache-Control", "no-store"}};
    return all;
}

Role Site::role_of(const Request& request) const {
    const auto token = request.query.find("token");
    if (request.path == "/" && token != request.query.end()) {
        return access_.role_of_token(token->second);
    }
    return access_.role_of_cookies(request.cookies);
}

std::optional<Answer> Site::refuse(const Request& request) const {
    const bool reads = request.method == "GET";
    const bool posts = request.method == "POST";
    // Who has no token learns nothing, not even what there is.
    const bool own = is_own_host(request.host) &&
                     (request.origin.empty() || is_own_origin(request.origin, request.host));
    const Role role = own ? role_of(request) : Role::stranger;
    if (role == Role::stranger) {
        return text_answer(403,
                           "403: this is a live view of a camera. Open the address that 'orvex "
                           "view' has printed.");
    }
    if (!reads && !posts) return error_answer(405, "there is GET, and POST for commands");
    if (request.path.size() > longest_path) return error_answer(404, "there is no such page");
    if (posts && role != Role::controller) {
        return error_answer(403, "guests can look, and change nothing");
    }
    if (posts && (request.content_type != json_type || !request.content_encoding.empty())) {
        return error_answer(415, "a command is plain JSON");
    }
    return std::nullopt;
}

Answer Site::answer(const Request& request) const {
    if (std::optional<Answer> refusal = refuse(request)) return *refusal;
    try {
        return dispatch(request, role_of(request));
    } catch (const std::invalid_argument& wrong) {
        return error_answer(400, wrong.what());
    } catch (const std::exception& problem) {
        // The camera, or the state of the view, does not allow it.
        return error_answer(409, problem.what());
    }
}

Answer Site::dispatch(const Request& request, Role role) const {
    const std::string& path = request.path;
    if (request.method == "POST") {
        return path == "/command" ? command(request)
                                  : error_answer(404, "there is no such command");
    }
    if (path == "/" && request.query.contains("token")) return enter(request);
    if (path == "/state") return state(request, role);
    if (path == "/picture") return picture(request);
    if (path == "/parameters") return json_answer(control_.parameters());
    if (path == "/program") return json_answer(control_.program());
    const std::string files = "/files/";
    if (path.starts_with(files) && role == Role::controller) return file(path.substr(files.size()));
    if (const PageFile* found = find_page_file(path)) {
        return {200, found->type, std::string(found->content), {}, {}};
    }
    return error_answer(404, "there is no such page");
}

Answer Site::enter(const Request& request) const {
    // The token leaves the address at once. A redirection would be part of the click on a link
    // elsewhere, for which the browser keeps the cookie back; a page of our own is not.
    Answer out{200,
               "text/html; charset=utf-8",
               "<!doctype html><title>orvex view</title>"
               "<meta http-equiv=\"refresh\" content=\"0; url=/\">\n",
               {},
               {}};
    out.headers.emplace_back("Set-Cookie", access_.cookie(request.query.find("token")->second));
    return out;
}

Answer Site::state(const Request& request, Role role) const {
    nlohmann::json out = control_.state(
        {number_of(request.query, "temperatures"), number_of(request.query, "lines")});
    out["role"] = role == Role::controller ? "controller" : "guest";
    return json_answer(out);
}

Answer Site::picture(const Request& request) const {
    // A page asks again; a longer wait would hold a thread for pages that are gone.
    constexpr std::chrono::milliseconds patience{1000};
    const PictureRequest wanted = parse_picture_request(request.query);
    const std::shared_ptr<const Frame> frame = board_.after(wanted.after, patience);
    if (!frame) return {204, "", "", {}, {}};
    return {200, "application/octet-stream", picture_answer(*frame, wanted), {}, {}};
}

Answer Site::command(const Request& request) const {
    if (request.body.size() > longest_body) return error_answer(413, "the command is too long");
    return json_answer(control_.act(parse_command(request.body)));
}

Answer Site::file(const std::string& name) const {
    const std::string path = control_.file_path(name);
    if (path.empty()) return error_answer(404, "there is no such file");
    Answer out{200, "application/octet-stream", "", {}, path};
    out.headers.emplace_back("Content-Disposition", "attachment; filename=\"" + name + "\"");
    return out;
}

}  // namespace orvex::view
