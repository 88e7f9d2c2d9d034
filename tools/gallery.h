// The gallery: every registered method that makes a picture, applied to one
// source picture with chosen arguments, plus both filter classes, a waveform and
// the binary string round trip, written as a web page of thumbnails.
#pragma once

#include <string>
#include <vector>

#include "tools/image.h"
#include "tools/session.h"

namespace vqz {

// One tile of the page.
struct GalleryTile {
    std::string title;    // the declaration or feature shown
    std::string command;  // the exact command line that makes the picture
    std::string image;    // file name of the full picture ("" when it failed)
    std::string thumb;    // file name of the thumbnail
    std::string note;     // a result worth showing ("returned true", "identical")
    std::string error;    // why it failed
    double millis = 0;    // time of the plugin calls
    int width = 0, height = 0;
};

struct GalleryPage {
    std::string sourceName;   // how the source is named on the page
    std::string sourceCredit; // "" or a credit line
    std::string hostText;     // the host configuration
    std::string sourceImage, sourceThumb;
    int sourceWidth = 0, sourceHeight = 0;
    std::vector<GalleryTile> tiles;
};

struct GalleryRun {
    std::string indexPath;
    size_t tiles = 0;
    size_t failed = 0;
};

// Writes the gallery of `source` into `dir` (created if needed).
GalleryRun writeGallery(Session& session, const Image& source, const std::string& sourceName,
                        const std::string& sourceCredit, const std::string& dir);

// Helpers the gallery writes next to the page, for calls that need more inputs.
Image mirrored(const Image& image);
Image gradient(int width, int height);
Image thumbnail(const Image& image, int maxWidth);
std::string warmCube();  // the text of a small .cube color grade
std::vector<int16_t> chirp(int sampleRate, double seconds);

// The page itself.
std::string galleryHtml(const GalleryPage& page);

}  // namespace vqz
