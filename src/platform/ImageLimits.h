#pragma once

#include <QSize>

namespace platform::imaging {

// A picture that says it is larger than this either way is refused unread: a
// small PNG can declare 5600 x 5600 and would decode to 120 MB.
constexpr int largestDeclared = 4096;
// The largest cell that shows a picture is 400 x 225; twice that serves dense
// screens. Larger pictures are scaled down as they are decoded.
constexpr QSize largestShown(800, 450);
// Qt's own cap on one decoded picture, in MiB: one of the largest declared size
// (64 MiB in 32-bit colour) and a little room.
constexpr int allocationLimitMiB = 80;

} // namespace platform::imaging
