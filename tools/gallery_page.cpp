// The gallery's index.html: a grid of thumbnails, each linked to its full picture
// and captioned with the declaration, the command that made it and its time.
// A small script marks the page once every image has loaded (or not), so that a
// headless browser can check it.
#include <cstdio>

#include "tools/gallery.h"

namespace vqz {

namespace {

std::string escape(const std::string& s) {
    std::string out;
    for (char c : s) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out += c;
        }
    }
    return out;
}

std::string timeText(double millis) {
    char buf[32];
    if (millis < 1) std::snprintf(buf, sizeof buf, "%.0f µs", millis * 1000);
    else if (millis < 100) std::snprintf(buf, sizeof buf, "%.1f ms", millis);
    else std::snprintf(buf, sizeof buf, "%.0f ms", millis);
    return buf;
}

const char* const kStyle = R"(
  :root { color-scheme: light; }
  body { margin: 0; font: 14px/1.45 system-ui, -apple-system, "Segoe UI", sans-serif; background: #eef0f2; color: #1d232b; }
  header { padding: 24px 32px 8px; }
  h1 { margin: 0 0 6px; font-size: 26px; }
  header p { margin: 4px 0; max-width: 70em; }
  .credit { color: #5a6572; font-size: 13px; }
  main { display: grid; grid-template-columns: repeat(auto-fill, minmax(240px, 1fr)); gap: 18px; padding: 16px 32px 40px; }
  figure { margin: 0; background: #fff; border-radius: 8px; box-shadow: 0 1px 3px rgba(0,0,0,.12); overflow: hidden; display: flex; flex-direction: column; }
  figure a { display: block; background: repeating-conic-gradient(#f4f5f7 0 25%, #e3e6ea 0 50%) 50% / 16px 16px; text-align: center; }
  figure img { display: block; width: 100%; height: auto; }
  figure.source { outline: 3px solid #2f6fbe; }
  .missing { height: 140px; display: flex; align-items: center; justify-content: center; color: #a33; background: #fbeaea; font-weight: 600; }
  figcaption { padding: 10px 12px 12px; display: flex; flex-direction: column; gap: 6px; }
  .decl { font: 12px/1.35 ui-monospace, "DejaVu Sans Mono", monospace; color: #3b4654; word-break: break-word; }
  .cmd { font: 12px/1.35 ui-monospace, "DejaVu Sans Mono", monospace; background: #1d232b; color: #e6edf3; padding: 6px 8px; border-radius: 5px; word-break: break-all; }
  .meta { display: flex; justify-content: space-between; color: #5a6572; font-size: 12px; gap: 8px; }
  .note { color: #2e6b34; }
  .error { color: #a33; font-size: 12px; white-space: pre-wrap; }
  img.broken { outline: 4px solid red; }
)";

const char* const kScript = R"(
window.addEventListener('load', function () {
  var images = document.images, broken = 0;
  for (var i = 0; i < images.length; i++) {
    if (!images[i].complete || images[i].naturalWidth === 0) { broken++; images[i].classList.add('broken'); }
  }
  document.body.setAttribute('data-images', broken ? 'broken ' + broken + ' of ' + images.length
                                                   : 'loaded ' + images.length);
});
)";

}  // namespace

std::string galleryHtml(const GalleryPage& page) {
    std::string h;
    h += "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
    h += "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
    h += "<title>vqz gallery: " + escape(page.sourceName) + "</title>\n<style>" + kStyle + "</style>\n</head>\n";
    size_t failed = 0;
    for (const GalleryTile& t : page.tiles) failed += t.image.empty();
    h += "<body data-images=\"pending\">\n<header>\n<h1>vqz gallery</h1>\n";
    h += "<p>Every method of the picture plugin that makes or changes a picture, applied to <b>" +
         escape(page.sourceName) + "</b> (" + std::to_string(page.sourceWidth) + "&times;" +
         std::to_string(page.sourceHeight) + "), with the command that made each picture and the time the plugin took. " +
         "Run the commands in this directory.</p>\n";
    h += "<p>" + escape(page.hostText) + ". " + std::to_string(page.tiles.size() - failed) + " of " +
         std::to_string(page.tiles.size()) + " calls made a picture.</p>\n";
    if (!page.sourceCredit.empty()) h += "<p class=\"credit\">" + escape(page.sourceCredit) + "</p>\n";
    h += "</header>\n<main>\n";

    h += "<figure class=\"source\"><a href=\"" + escape(page.sourceImage) + "\"><img src=\"" + escape(page.sourceThumb) +
         "\" alt=\"the source picture\"></a>\n<figcaption><span class=\"decl\">source picture</span>"
         "<div class=\"meta\"><span>" + escape(page.sourceName) + "</span><span>" + std::to_string(page.sourceWidth) +
         "&times;" + std::to_string(page.sourceHeight) + "</span></div></figcaption></figure>\n";

    for (const GalleryTile& t : page.tiles) {
        h += "<figure>";
        if (!t.image.empty()) {
            h += "<a href=\"" + escape(t.image) + "\"><img src=\"" + escape(t.thumb) + "\" alt=\"" + escape(t.title) +
                 "\"></a>";
        } else {
            h += "<div class=\"missing\">no picture</div>";
        }
        h += "\n<figcaption><span class=\"decl\">" + escape(t.title) + "</span><code class=\"cmd\">" +
             escape(t.command) + "</code>";
        if (!t.error.empty()) h += "<span class=\"error\">" + escape(t.error) + "</span>";
        h += "<div class=\"meta\"><span class=\"note\">" + escape(t.note) + "</span><span>";
        if (t.image.empty()) h += "failed";
        else h += timeText(t.millis) + " &middot; " + std::to_string(t.width) + "&times;" + std::to_string(t.height);
        h += "</span></div></figcaption></figure>\n";
    }
    h += "</main>\n<script>" + std::string(kScript) + "</script>\n</body>\n</html>\n";
    return h;
}

}  // namespace vqz
