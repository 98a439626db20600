#include "service/DemoCatalogue.h"

namespace service {

namespace {

using namespace std::chrono_literals;

// Stream sets: most videos have an hd720 MP4 (the best stream is then MP4); one
// has only a small 3GP and a medium WebM (the best is WebM); one has only the
// medium MP4.
constexpr int fullSet[] = {22, 35, 43, 18, 5};
constexpr int hdWebm3gp[] = {22, 43, 18, 36};
constexpr int hdSmall[] = {22, 18, 17};
constexpr int webmOnly[] = {43, 17};
constexpr int hdFlv[] = {22, 18, 5};
constexpr int mp4Only[] = {18};
constexpr int allLarge[] = {22, 35, 43, 18, 36};
constexpr int hdWebm[] = {22, 43, 18, 5};
constexpr int hdLarge3gp[] = {22, 35, 18, 17};
constexpr int hdMedium[] = {22, 43, 18};
constexpr int hd3gp[] = {22, 18, 36};
constexpr int flvOnly[] = {35, 5};

constexpr std::string_view longTitle =
    "An Exceedingly Long Title For A Very Short Clip: Eight Seconds Of Gradients Drifting Slowly Across The "
    "Screen, Accompanied By A Gentle 587 Hz Tone, Recorded For The Sole Purpose Of Finding Out Whether Every "
    "Window, Table Cell, File Name And Progress Line Copes With A Title That Simply Refuses To End Where Titles "
    "Usually End (Part One Of One)";

// Channels and upload dates: one channel with several videos, a slash, quotes,
// an ampersand, angle brackets and letters beyond ASCII in names, a leap day.
constexpr DemoVideo videos[] = {
    {"VGVzdENhcmQ", 30, VideoKind::normal, "Tom & Jerry & the Test Card",
     "The classic test card & a steady 440 Hz tone. A demo clip of the Melodrift service.", "Test Card Archive",
     2009y / 3 / 14, "testsrc", 440, fullSet},
    {"UXVvdGVkQmE", 20, VideoKind::normal, "The \"Quoted\" Colour Bars",
     "SMPTE colour bars with a 523 Hz tone, \"as seen on TV\".", "The \"Bars\" Channel", 2010y / 7 / 1, "smptebars",
     523, hdWebm3gp},
    {"QUNEQ0h1bTE", 12, VideoKind::normal, "AC/DC Power Hum (RGB Test)",
     "Red, green and blue stripes over a low 110 Hz hum.", "AC/DC Hum Society", 2008y / 11 / 30, "rgbtestsrc", 110,
     hdSmall},
    {"Q2FmZUNyZW0", 15, VideoKind::normal, "Café Crème – Mandelbrot Zoom",
     "A slow zoom into the Mandelbrot set, with a 660 Hz tone. Offered as WebM and 3GP only.", "Fractales à Paris",
     2011y / 5 / 21, "mandelbrot=maxiter=256", 660, webmOnly},
    {"TG9uZ1RpdGw", 8, VideoKind::normal, longTitle,
     "Gradients and a 587 Hz tone behind the longest title in the catalogue.", "Gradient Works", 2012y / 2 / 29,
     "gradients=speed=0.02:nb_colors=3:c0=0x1F4E79:c1=0xF2C14E:c2=0x7A1F5C", 587, hdFlv},
    {"UnVsZTExMF8", 5, VideoKind::normal, "Rule 110 in Five Seconds",
     "An elementary cellular automaton at work, 880 Hz. Medium MP4 only.", "Cellular Automata Weekly", 2007y / 1 / 1,
     "cellauto=rule=110:random_fill_ratio=0.5", 880, mp4Only},
    {"R2FtZU9mTGk", 25, VideoKind::normal, "Game of Life: Glider Parade",
     "Conway's Game of Life on a small board, with a 392 Hz tone.", "Cellular Automata Weekly", 2007y / 12 / 31,
     "life=mold=10:ratio=0.2:life_color=#00FF66:death_color=#202040", 392, allLarge},
    {"SGFyYm91ckw", 40, VideoKind::normal, "Harbour Lights at Night",
     "Moving test patterns and a 494 Hz tone; the harbour is left to your imagination.", "Harbour Lights TV",
     2012y / 10 / 5, "testsrc2", 494, hdWebm},
    {"SERDb2xvdXI", 60, VideoKind::normal, "One Minute of HD Colour Bars",
     "High-definition colour bars for a full minute, 1 kHz reference tone.", "Test Card Archive", 2009y / 3 / 15,
     "smptehdbars", 1000, hdLarge3gp},
    {"U2llcnBpbnM", 10, VideoKind::normal, "Sierpiński Carpet <Deep Dive>",
     "A Sierpiński carpet in motion, 740 Hz. Angle brackets & accents in the title.", "Sierpiński <Fractals>",
     2011y / 9 / 9, "sierpinski=type=carpet", 740, hdMedium},
    {"w5xiZXJUb24", 18, VideoKind::normal, "Über-Tone: Ünïcödé Test at 784 Hz",
     "YUV test pattern with a 784 Hz tone; umlauts, diaereses and an ü in the title.", "Ünïcödé Kanal", 2010y / 12 / 24,
     "yuvtestsrc", 784, hd3gp},
    {"UEFMQmFyczc", 35, VideoKind::normal, "PAL Bars & Tone (75%)",
     "75% PAL colour bars with the usual 1 kHz line-up tone's lower octave, 500 Hz.", "Bars & Tones Ltd.",
     2006y / 6 / 6, "pal75bars", 500, hdWebm},
    {"Rmxhc2hFcmE", 6, VideoKind::normal, "Flash Era Relic",
     "A test pattern and a 349 Hz tone, offered as Flash video only: no web browser plays it.", "Flash Era Relics",
     2005y / 4 / 23, "pal100bars", 349, flvOnly},
    {"UmVtb3ZlZDE",
     95,
     VideoKind::notice1,
     "Removed Upload",
     "The uploader took this one down.",
     "Gone Uploader",
     2008y / 8 / 8,
     "pal100bars",
     0,
     {}},
    {"UHJpdmF0ZTE",
     120,
     VideoKind::notice2,
     "Private Rehearsal",
     "Only for invited viewers.",
     "Rehearsal Room",
     2012y / 1 / 15,
     "smptebars",
     0,
     {}},
    {"VW5yYXRlZDE",
     60,
     VideoKind::notice3,
     "Unrated Upload",
     "Not rated yet.",
     "Unrated Uploads",
     2011y / 3 / 3,
     "rgbtestsrc",
     0,
     {}},
    {"QWdlR2F0ZTE",
     75,
     VideoKind::notice4,
     "Age Check Required",
     "Viewers must confirm their age.",
     "Late Night Tests",
     2010y / 10 / 10,
     "testsrc2",
     0,
     {}},
    {"UnRtcGVPbmw",
     5400,
     VideoKind::rtmpe,
     "Premium Concert",
     "Rented concert, streamed only.",
     "Premium Concerts",
     2012y / 11 / 1,
     "testsrc",
     0,
     {}},
};

} // namespace

std::span<const DemoVideo> demoVideos()
{
    return videos;
}

} // namespace service
