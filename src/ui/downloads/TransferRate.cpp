#include "ui/downloads/TransferRate.h"

#include <cmath>

void TransferRate::sample(qint64 done, std::optional<qint64> total, Clock::time_point at)
{
    // A transfer that starts over (or a clock that steps back) starts the average over.
    if (!samples_.empty() && (done < samples_.back().done || at < samples_.back().at))
        samples_.clear();
    samples_.push_back({at, done});
    total_ = total;
    while (samples_.size() > 2 && at - samples_[1].at >= window)
        samples_.pop_front();
}

void TransferRate::reset()
{
    samples_.clear();
    total_.reset();
}

std::optional<double> TransferRate::bytesPerSecond() const
{
    if (samples_.size() < 2)
        return std::nullopt;
    const auto span = samples_.back().at - samples_.front().at;
    if (span < shortestSpan)
        return std::nullopt;
    const double seconds = std::chrono::duration<double>(span).count();
    return static_cast<double>(samples_.back().done - samples_.front().done) / seconds;
}

std::optional<qint64> TransferRate::secondsLeft() const
{
    const auto rate = bytesPerSecond();
    if (!rate || *rate <= 0 || !total_ || *total_ <= 0 || samples_.empty())
        return std::nullopt;
    const qint64 left = std::max<qint64>(*total_ - samples_.back().done, 0);
    return static_cast<qint64>(std::ceil(static_cast<double>(left) / *rate));
}
