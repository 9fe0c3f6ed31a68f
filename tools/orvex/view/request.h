#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

// Requests to the live view and its answers, whatever carries them.
namespace orvex::view {

using Query = std::multimap<std::string, std::string>;

struct Request {
    std::string method;
    std::string path;
    Query query;
    std::string host;
    std::string origin;
    std::string cookies;
    std::string content_type;
    std::string content_encoding;
    std::string body;
};

struct Answer {
    int status = 200;
    std::string type;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    // A file to be sent in place of the body, however long it is.
    std::string file;
};

}  // namespace orvex::view
