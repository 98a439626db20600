#pragma once

#include <filesystem>
#include <string_view>

// Writes a URL link frame ("WOAS", "WOAF", ...: no text encoding byte) into
// the padding of the ID3v2.3 tag at the head of the file, in place; the rest
// of the file stays as it is. Writers such as ffmpeg's cannot write these
// frames but leave padding on request.
//
// url is UTF-8; the frame holds it as ISO-8859-1, so it may only have printable
// characters of that set. Returns false, and leaves the file alone, when the
// file does not start with an ID3v2.3 tag this can walk (unsynchronised, with
// an extended header, or broken), when the tag has that frame already, when
// the padding is too small, or when the URL or frame id is unfit.
bool add_id3_url_frame(const std::filesystem::path& file, std::string_view frame_id, std::string_view url);
