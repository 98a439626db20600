#pragma once

#include "service/Faults.h"

#include <filesystem>
#include <string>
#include <vector>

namespace service {

// The command line of melodrift-service.
struct Options {
    unsigned short port = 0;
    std::filesystem::path dataDir; // empty: defaultDataDir()
    bool generateOnly = false;
    bool keepAlive = false;
    bool help = false;
    Faults faults;

    // Arguments without the program name; "--name value" or "--name=value".
    // Throws std::invalid_argument with a message for the user.
    static Options parse(const std::vector<std::string>& arguments);
    // The help text. Its usage line names the program as the application
    // object was given it; make one first.
    static std::string usage();
    // $XDG_DATA_HOME/melodrift-service, else ~/.local/share/melodrift-service.
    static std::filesystem::path defaultDataDir();
};

} // namespace service
