#pragma once

#include <map>
#include <string>
#include <string_view>

// One stream of a video: a stream-map entry split into its base address and its
// parameters. Parameters are kept sorted by key, so url() prints the same address
// for the same parameters in whatever order the page listed them.
class youtube_url {
public:
    using param_map = std::map<std::string, std::string, std::less<>>;

    // The entry must already be unescaped. Does not parse.
    explicit youtube_url(const std::string& entry);
    youtube_url(const youtube_url&) = default;
    youtube_url(youtube_url&&) = default;
    youtube_url& operator=(const youtube_url&) = default;
    youtube_url& operator=(youtube_url&&) = default;
    virtual ~youtube_url();

    // Splits the entry and its "url" parameter. Throws std::out_of_range when the
    // entry has no "url" parameter.
    void parse();
    void parse_query(std::string_view query);

    const std::string& file() const noexcept { return file_; }
    const param_map& params() const noexcept { return params_; }

    // Throw std::out_of_range("map::at:  key not found") for a missing key.
    const std::string& get_param(std::string_view name) const;
    const std::string& type() const { return get_param("type"); }
    const std::string& quality() const { return get_param("quality"); }

    // file "?" then "key=value&" per parameter in key order; nothing is escaped.
    std::string url() const;
    std::string url_without_type() const;

private:
    std::string print(std::string_view skipped_key) const;

    std::string entry_;
    std::string file_;
    param_map params_;
};
