#pragma once

#include "service/Video.h"

#include <chrono>
#include <span>
#include <string_view>

namespace service {

// One video of the generated demo catalogue.
struct DemoVideo {
    std::string_view id;
    unsigned seconds;
    VideoKind kind;
    std::string_view title;
    std::string_view description;
    std::string_view channel;
    std::chrono::year_month_day uploaded;
    std::string_view picture; // lavfi video source and its options, size and rate aside
    unsigned tone;            // Hz
    std::span<const int> itags;
};

std::span<const DemoVideo> demoVideos();

} // namespace service
