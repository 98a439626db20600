#pragma once

#include <fstream>
#include <sstream>
#include <string>

// A file under tests/data, whole; empty when it cannot be read. The including
// target defines MELODRIFT_TEST_DATA.
inline std::string test_data(const std::string& name)
{
    std::ifstream in(std::string(MELODRIFT_TEST_DATA) + "/" + name, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
