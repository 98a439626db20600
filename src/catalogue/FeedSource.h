#pragma once

#include "catalogue/SearchSource.h"
#include "platform/ServiceEndpoints.h"

// The service's search feed (an RSS document), its items read by the XML reader.
class FeedSource : public SearchSource {
public:
    explicit FeedSource(const platform::ServiceEndpoints& endpoints) : endpoints_(endpoints) {}

    SearchAnswer find(const QString& words, const std::shared_ptr<platform::CancelToken>& cancel) override;

    // The feed's address for the words, as it is asked for.
    QString addressText(const QString& words) const;
    // The words as they go into the feed address.
    static QString escapeSearchWords(const QString& words);

private:
    const platform::ServiceEndpoints endpoints_;
};
