#include "core/fetch/http.h"

namespace urdl::http {

namespace {

class http_category final : public boost::system::error_category {
public:
    const char* name() const noexcept override { return "HTTP"; }

    std::string message(int value) const override
    {
        switch (value) {
        case 1: return "Malformed status line";
        case 2: return "Malformed response headers";
        case 100: return "Continue";
        case 101: return "Switching protocols";
        case 200: return "OK";
        case 201: return "Created";
        case 202: return "Accepted";
        case 203: return "Non-authoritative information";
        case 204: return "No content";
        case 205: return "Reset content";
        case 206: return "Partial content";
        case 300: return "Multiple choices";
        case 301: return "Moved permanently";
        case 302: return "Found";
        case 303: return "See other";
        case 304: return "Not modified";
        case 305: return "Use proxy";
        case 307: return "Temporary redirect";
        case 400: return "Bad request";
        case 401: return "Unauthorized";
        case 402: return "Payment required";
        case 403: return "Forbidden";
        case 404: return "Not found";
        case 405: return "Method not allowed";
        case 406: return "Not acceptable";
        case 407: return "Proxy authentication required";
        case 408: return "Request time-out";
        case 409: return "Conflict";
        case 410: return "Gone";
        case 411: return "Length required";
        case 412: return "Precondition failed";
        case 413: return "Request entity too large";
        case 414: return "Request URI too large";
        case 415: return "Unsupported media type";
        case 416: return "Requested range not satisfiable";
        case 417: return "Expectation failed";
        case 500: return "Internal server error";
        case 501: return "Not implemented";
        case 502: return "Bad gateway";
        case 503: return "Service unavailable";
        case 504: return "Gateway time-out";
        case 505: return "HTTP version not supported";
        default: return "Unknown HTTP error";
        }
    }
};

} // namespace

const boost::system::error_category& error_category()
{
    static const http_category category;
    return category;
}

boost::system::error_code errc::make_error_code(errc_t e)
{
    return boost::system::error_code(static_cast<int>(e), error_category());
}

} // namespace urdl::http
