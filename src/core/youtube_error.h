#pragma once

#include <stdexcept>
#include <string>

// A notice of the video service about a video (private, removed, age check, ...).
// Its message is shown to the user as it stands.
class youtube_error : public std::logic_error {
public:
    using std::logic_error::logic_error;
};
