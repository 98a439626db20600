#include "downloads/SaveOptions.h"

SaveOptions SaveOptions::current()
{
    SaveOptions options;
    options.quality = Settings::videoQuality();
    options.sound = Settings::sound();
    options.tags = Settings::tagFiles();
    options.subtitles = Settings::subtitleLanguage();
    options.automaticSubtitles = Settings::automaticSubtitles();
    return options;
}
