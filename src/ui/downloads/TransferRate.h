#pragma once

#include <QtGlobal>

#include <chrono>
#include <deque>
#include <optional>

// How fast a transfer goes and how long it still needs, from the bytes done at
// moments of a steady clock: the average over the last few seconds, so that it
// follows a change of pace without jumping at every sample. Unknown until the
// samples span half a second.
class TransferRate {
public:
    using Clock = std::chrono::steady_clock;

    void sample(qint64 done, std::optional<qint64> total, Clock::time_point at);
    void reset();

    std::optional<double> bytesPerSecond() const;
    std::optional<qint64> secondsLeft() const;

    static constexpr std::chrono::milliseconds window{5000};
    static constexpr std::chrono::milliseconds shortestSpan{500};

private:
    struct Sample {
        Clock::time_point at;
        qint64 done;
    };
    std::deque<Sample> samples_;
    std::optional<qint64> total_;
};
