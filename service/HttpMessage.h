#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace service {

struct HttpRequest {
    std::string method;
    std::string target; // as sent: path and query
    std::string host;   // the Host header, empty without one
    std::string range;  // the Range header, empty without one
    std::string body;
    std::uint64_t connection = 0; // which connection of the server's it came on, from 1
};

// How a response leaves: whole, cut off part-way through its body, stalled after
// a few bytes of it until the client gives up, or not at all (connection closed).
enum class Delivery { whole, cut, stall, drop };

struct HttpResponse {
    // A part of a file sent as the body, read as it is sent.
    struct FileSlice {
        std::filesystem::path path;
        std::uint64_t offset = 0;
        std::uint64_t length = 0;
    };

    int status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::optional<FileSlice> file; // instead of body
    Delivery delivery = Delivery::whole;
    std::optional<std::uint64_t> cutAfter; // body bytes before a cut; half the body without
    std::uint64_t bytesPerSecond = 0;      // the body's pace, 0: as fast as it goes
    std::chrono::milliseconds delay{0};    // before anything is sent
    // Told once the answer is over (sent, cut or given up) how many body bytes
    // were written.
    std::function<void(std::uint64_t bodyBytes)> sent;

    static HttpResponse text(int status, std::string body)
    {
        HttpResponse response;
        response.status = status;
        response.body = std::move(body);
        return response;
    }

    std::uint64_t contentLength() const { return file ? file->length : body.size(); }

    const std::string* header(const std::string& name) const
    {
        for (const auto& [n, v] : headers)
            if (n == name)
                return &v;
        return nullptr;
    }
};

} // namespace service
