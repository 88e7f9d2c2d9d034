#include "tools/gallery.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cctype>
#include <cstdio>
#include <map>
#include <set>

#include "tools/arguments.h"
#include "tools/audio_io.h"
#include "tools/cube.h"
#include "tools/errors.h"
#include "tools/evaluator.h"
#include "tools/files.h"
#include "tools/filters.h"
#include "tools/image_io.h"
#include "tools/pipeline.h"
#include "tools/waveform.h"

namespace vqz {

namespace {

using Clock = std::chrono::steady_clock;

std::string lower(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// The arguments the gallery gives a method: one or more calls run in turn
// (separated by " ; "), with {qw} {qh} {hw} {hh} {tw} standing for a quarter, a
// half and a third of the picture's width or height, and {common} for the
// picture's most common color. `inPlace` methods change the picture they are
// called on and answer a boolean; the tile shows the picture afterwards.
struct Choice {
    const char* name;
    int arity;
    const char* calls;
    bool inPlace;
};

const Choice kChoices[] = {
    {"ColornessVQZ", -1, nullptr, false},
    {"ScrollVerticalVQZ", 3, "ScrollVerticalVQZ({qh}, true, false)", true},
    {"ScrollVerticalVQZ", 3, "ScrollVerticalVQZ({qh}, false, false)", true},
    {"ScrollHorizontalVQZ", 3, "ScrollHorizontalVQZ({hw}, true, false)", true},
    {"ScrollVQZ", 4, "ScrollVQZ({tw}, {qh}, true, false)", true},
    {"ChangeContrastBrightnessAbsoluteVQZ", 6, "ChangeContrastBrightnessAbsoluteVQZ(0.4, 0.2, 0, 20, 0, -20)", false},
    {"ChangeContrastBrightnessLinearVQZ", 6, "ChangeContrastBrightnessLinearVQZ(0.4, 0.2, 0, 40, 0, -40)", false},
    {"ChangeContrastBrightnessAbsoluteVQZ", 2, "ChangeContrastBrightnessAbsoluteVQZ(0.5, -20)", false},
    {"ChangeContrastBrightnessLinearVQZ", 2, "ChangeContrastBrightnessLinearVQZ(0.5, 40)", false},
    {"ChangeBrightnessAbsoluteVQZ", 3, "ChangeBrightnessAbsoluteVQZ(40, 0, -40)", false},
    {"ChangeBrightnessLinearVQZ", 3, "ChangeBrightnessLinearVQZ(60, 0, -60)", false},
    {"ChangeBrightnessAbsoluteVQZ", 1, "ChangeBrightnessAbsoluteVQZ(50)", false},
    {"ChangeBrightnessLinearVQZ", 1, "ChangeBrightnessLinearVQZ(-80)", false},
    {"ChangeContrastVQZ", 1, "ChangeContrastVQZ(0.8)", false},
    {"ChangeContrastVQZ", 3, "ChangeContrastVQZ(0.8, 0, -0.5)", false},
    {"ChangeCustomVQZ", 2, "ChangeCustomVQZ(1.4, -50)", false},
    {"InvertVQZ", 4, "InvertVQZ({qw}, {qh}, {hw}, {hh})", false},
    {"InvertVQZ", 0, "InvertVQZ", false},
    {"InvertGrayVQZ", 4, "InvertGrayVQZ({qw}, {qh}, {hw}, {hh})", false},
    {"InvertGrayVQZ", 0, "InvertGrayVQZ", false},
    {"ExtractColorRectangleMaskVQZ", 4, "ExtractColorRectangleMaskVQZ({qw}, {qh}, {hw}, {hh})", false},
    {"ExtractColorRectangleMaskVQZ", 0, "ExtractColorRectangleMaskVQZ", false},
    {"EmbeddedMaskVQZ", 1, "EmbeddedMaskVQZ(true)", false},
    {"EmbeddedMaskVQZ", 1, "EmbeddedMaskVQZ(false) = gradient.png ; EmbeddedMaskVQZ(false)", false},
    {"TransformColorsVQZ", 4, "TransformColorsVQZ(curve-red.bin, curve-blue.bin, curve-green.bin)", false},
    {"ReplaceColorVQZ", 2, "ReplaceColorVQZ({common}, &cFF00FF)", false},
    {"ExtractColorVQZ", 3, "ExtractColorVQZ({common}, &c000000, &cFFFFFF)", false},
    {"ChangeSaturationVQZ", 1, "ChangeSaturationVQZ(150)", false},
    {"ChangeSaturationVQZ", 1, "ChangeSaturationVQZ(-200)", false},
    {"ReplaceRedChannelVQZ", 1, "ReplaceRedChannelVQZ(mirror.png)", false},
    {"ReplaceGreenChannelVQZ", 1, "ReplaceGreenChannelVQZ(mirror.png)", false},
    {"ReplaceBlueChannelVQZ", 1, "ReplaceBlueChannelVQZ(mirror.png)", false},
    {"CombinePicturesVQZ", 3, "CombinePicturesVQZ(mirror.png, gradient.png)", false},
    {"MergePictureVQZ", 2, "MergePictureVQZ(gradient.png)", false},
    {"TintPictureVQZ", 3, "TintPictureVQZ(&c555555, &cFFE0B0)", false},
    {"TintPictureVQZ", 3, "TintPictureVQZ(&c404040, &cA0C8FF)", false},
    // Shown by tiles of their own (the round trip and the waveform).
    {"BinaryStringtoPictureVQZ", -1, nullptr, false},
    {"RenderSamplesVQZ", -1, nullptr, false},
};

struct Context {
    int width, height;
    uint32_t common;
};

std::string expand(const std::string& text, const Context& ctx) {
    std::map<std::string, std::string> values = {
        {"{qw}", std::to_string(ctx.width / 4)},  {"{qh}", std::to_string(ctx.height / 4)},
        {"{hw}", std::to_string(ctx.width / 2)},  {"{hh}", std::to_string(ctx.height / 2)},
        {"{tw}", std::to_string(ctx.width / 3)},
    };
    char color[16];
    std::snprintf(color, sizeof color, "&c%06X", unsigned(ctx.common & 0xFFFFFF));
    values["{common}"] = color;
    std::string out;
    for (size_t i = 0; i < text.size();) {
        bool replaced = false;
        if (text[i] == '{') {
            for (const auto& [key, value] : values)
                if (text.compare(i, key.size(), key) == 0) {
                    out += value;
                    i += key.size();
                    replaced = true;
                    break;
                }
        }
        if (!replaced) out += text[i++];
    }
    return out;
}

std::vector<std::string> splitCalls(const std::string& text) {
    std::vector<std::string> calls;
    size_t start = 0;
    for (size_t sep; (sep = text.find(" ; ", start)) != std::string::npos; start = sep + 3)
        calls.push_back(text.substr(start, sep - start));
    calls.push_back(text.substr(start));
    return calls;
}

// A call for a method the gallery has no choice for: plain values of each type.
std::string genericCall(const Callable& c) {
    std::string call = c.declaration.name;
    std::vector<std::string> args;
    bool skippedPicture = false;
    for (const standin::Param& p : c.declaration.params) {
        if (p.defaultText || p.byref) break;
        switch (p.type) {
            case TypeName::Integer:
            case TypeName::UInt32: args.push_back("1"); break;
            case TypeName::Color: args.push_back("&c808080"); break;
            case TypeName::Double: args.push_back("0.5"); break;
            case TypeName::Boolean: args.push_back("true"); break;
            case TypeName::Picture:
                if (!c.method && !skippedPicture) {
                    skippedPicture = true;  // the current picture goes here
                    continue;
                }
                args.push_back("mirror.png");
                break;
            case TypeName::MemoryBlock: args.push_back("curve-red.bin"); break;
            case TypeName::String: args.push_back("\"vqz\""); break;
            default: args.push_back("nil"); break;
        }
    }
    if (args.empty()) return call;
    call += "(";
    for (size_t i = 0; i < args.size(); ++i) call += (i ? ", " : "") + args[i];
    return call + ")";
}

std::string shellQuote(const std::string& s) {
    bool plain = !s.empty();
    for (char c : s)
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '_' || c == '/' || c == ',' ||
              c == '='))
            plain = false;
    if (plain) return s;
    std::string out = "'";
    for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

std::string globalFlags(const GlobalOptions& o) {
    std::string flags;
    if (o.host != standin::AppKind::Desktop) flags += std::string(" --host ") + hostKindName(o.host);
    if (o.host == standin::AppKind::Desktop && o.depth != 32) flags += " --depth " + std::to_string(o.depth);
    if (!o.hostHasVersion) flags += " --host-version none";
    else if (o.hostVersion != 2013.0) flags += " --host-version " + formatDouble(o.hostVersion);
    return flags;
}

uint32_t mostCommonColor(const Image& image) {
    std::map<uint32_t, uint32_t> counts;
    uint32_t best = 0, bestCount = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            uint32_t c = image.rgb(x, y);
            uint32_t n = ++counts[c];
            if (n > bestCount || (n == bestCount && c < best)) {
                best = c;
                bestCount = n;
            }
        }
    return best;
}

std::string fileStem(size_t index, const std::string& name) {
    char prefix[8];
    std::snprintf(prefix, sizeof prefix, "%02zu-", index);
    std::string out = prefix;
    for (char c : name) out += std::isalnum(static_cast<unsigned char>(c)) ? c : '-';
    return out;
}

class GalleryWriter {
public:
    GalleryWriter(Session& session, const Image& source, const std::string& dir)
        : session_(session), source_(source), dir_(dir), evaluator_(session, dir) {
        flags_ = globalFlags(session.options());
    }

    std::vector<GalleryTile> tiles;

    // Runs `work` (which returns the picture to show) and files the tile.
    template <class Work>
    void tile(const std::string& title, const std::string& stem, const std::string& command, Work work) {
        GalleryTile t;
        t.title = title;
        t.command = command;
        try {
            double millis = 0;
            Ref picture = work(millis, t.note);
            t.millis = millis;
            Image image = session_.imageFromPicture(picture.get());
            t.width = image.width;
            t.height = image.height;
            t.image = stem + ".png";
            t.thumb = "thumbs/" + stem + ".png";
            writeImage(joinPath(dir_, t.image), image);
            writeImage(joinPath(dir_, t.thumb), thumbnail(image, 360));
        } catch (const ToolError& e) {
            t.image.clear();
            t.thumb.clear();
            t.error = e.what();
            if (!session_.options().quiet) std::fprintf(stderr, "vqz: gallery: %s: %s\n", title.c_str(), e.what());
        }
        tiles.push_back(std::move(t));
    }

    // A method call (or a chain of calls) on a fresh copy of the source.
    void callTile(const std::string& title, const std::vector<std::string>& texts) {
        std::string stem = fileStem(tiles.size() + 1, parseCallExpression(texts.front()).name);
        std::string command = "vqz" + flags_ + " apply source.png " + stem + ".png";
        for (const std::string& t : texts) command += " " + shellQuote(t);
        tile(title, stem, command, [&](double& millis, std::string& note) {
            std::vector<CallExpression> calls = parseCalls(texts);
            Ref picture = session_.pictureFromImage(source_);
            std::vector<std::string> printed;
            Clock::time_point start = Clock::now();
            picture = runCalls(session_, evaluator_, picture, calls, &printed);
            millis = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            for (std::string line : printed) {
                // "CALL = VALUE" reads better on a tile as "returned VALUE".
                for (const CallExpression& call : calls)
                    if (line.compare(0, call.text.size() + 3, call.text + " = ") == 0)
                        line = "returned " + line.substr(call.text.size() + 3);
                note += (note.empty() ? "" : "; ") + line;
            }
            return picture;
        });
    }

    const std::string& flags() const { return flags_; }

private:
    Session& session_;
    const Image& source_;
    std::string dir_;
    Evaluator evaluator_;
    std::string flags_;
};

double since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

GalleryRun writeGallery(Session& session, const Image& source, const std::string& sourceName,
                        const std::string& sourceCredit, const std::string& dir) {
    makeDirectories(joinPath(dir, "thumbs"));
    // The inputs the calls name, written beside the page.
    writeImage(joinPath(dir, "source.png"), source);
    writeImage(joinPath(dir, "thumbs/source.png"), thumbnail(source, 360));
    writeImage(joinPath(dir, "mirror.png"), mirrored(source));
    writeImage(joinPath(dir, "gradient.png"), gradient(source.width, source.height));
    std::vector<unsigned char> curve[3];
    for (int i = 0; i < 256; ++i) {
        double x = i / 255.0;
        curve[0].push_back(uint8_t(std::min(255.0, 255.0 * std::pow(x, 0.8) + 0.5)));
        curve[1].push_back(uint8_t(i));
        curve[2].push_back(uint8_t(255.0 * std::pow(x, 1.3) + 0.5));
    }
    writeFileAtomically(joinPath(dir, "curve-red.bin"), curve[0]);
    writeFileAtomically(joinPath(dir, "curve-green.bin"), curve[1]);
    writeFileAtomically(joinPath(dir, "curve-blue.bin"), curve[2]);
    std::string cube = warmCube();
    writeFileAtomically(joinPath(dir, "warm.cube"), cube);
    writeWav16(joinPath(dir, "tone.wav"), chirp(8000, 3.0), 8000);

    GalleryWriter gallery(session, source, dir);
    Context ctx{source.width, source.height, mostCommonColor(source)};

    // Every registered method that makes (or changes) a picture, in table order.
    // Methods that return a picture first (Picture methods, then global ones),
    // then those that change the picture in place.
    std::set<std::string> done;
    std::vector<std::pair<std::string, Callable>> callables;
    for (bool returnsPicture : {true, false})
        for (const char* kind : {"Picture", ""})
            for (auto& [where, c] : standin::allCallables())
                if (where == kind && (c.declaration.result == TypeName::Picture) == returnsPicture)
                    callables.emplace_back(where, c);
    for (const auto& [where, c] : callables) {
        std::string key = lower(c.declaration.name) + "/" + std::to_string(c.declaration.params.size());
        if (!done.insert(key).second) continue;
        bool chosen = false, skip = false;
        for (const Choice& choice : kChoices) {
            if (lower(choice.name) != lower(c.declaration.name)) continue;
            if (choice.arity < 0) {
                skip = true;
                break;
            }
            if (size_t(choice.arity) != c.declaration.params.size()) continue;
            chosen = true;
            gallery.callTile((where.empty() ? "" : "Picture.") + c.declarationText,
                             splitCalls(expand(choice.calls, ctx)));
        }
        if (!chosen && !skip && c.declaration.result == TypeName::Picture)
            gallery.callTile((where.empty() ? "" : "Picture.") + c.declarationText, {genericCall(c)});
    }

    // The declaration of a global method, for a tile's title.
    auto declarationOf = [&](const char* name) {
        std::vector<Callable> found = session.named("", name);
        return found.empty() ? std::string(name) : found.front().declarationText;
    };

    // The two filter classes.
    std::string flags = gallery.flags();
    {
        std::string stem = fileStem(gallery.tiles.size() + 1, "PictureLut3DVQZ");
        gallery.tile("PictureLut3DVQZ with warm.cube", stem,
                     "vqz" + flags + " lut source.png warm.cube " + stem + ".png",
                     [&](double& millis, std::string&) {
                         std::vector<double> lattice = classLattice(parseCube("warm.cube", cube));
                         Ref picture = session.pictureFromImage(source);
                         Clock::time_point start = Clock::now();
                         Ref out = runLutClass(session, picture.get(), lattice, ClassBounds());
                         millis = since(start);
                         return out;
                     });
    }
    for (int variant = 0; variant < 2; ++variant) {
        std::string stem = fileStem(gallery.tiles.size() + 1, "PictureSepiaVQZ");
        std::string options = variant ? " --offsets 40,20,-20" : "";
        gallery.tile(variant ? "PictureSepiaVQZ, SepiaRed 40, SepiaGreen 20, SepiaBlue -20" : "PictureSepiaVQZ",
                     stem, "vqz" + flags + " sepia source.png " + stem + ".png" + options,
                     [&](double& millis, std::string&) {
                         SepiaSettings settings;
                         if (variant) settings.offsets = {{40, 20, -20}};
                         Ref picture = session.pictureFromImage(source);
                         Clock::time_point start = Clock::now();
                         Ref out = runSepiaClass(session, picture.get(), settings);
                         millis = since(start);
                         return out;
                     });
    }

    // Waveforms of a synthetic tone.
    for (int variant = 0; variant < 2; ++variant) {
        std::string stem = fileStem(gallery.tiles.size() + 1, "RenderSamplesVQZ");
        WaveformSettings settings;
        settings.width = std::min(source.width, 800);
        settings.height = 200;
        settings.autoscale = true;
        std::string options = " --width " + std::to_string(settings.width) + " --height 200 --autoscale";
        if (variant) {
            settings.outline = 3;
            settings.smooth = 6;
            settings.colors = std::array<uint32_t, 3>{{0x1E2430, 0xE0A040, 0xFFFFFF}};
            options += " --outline 3 --smooth 6 --colors '&c1E2430,&cE0A040,&cFFFFFF'";
        }
        gallery.tile(declarationOf("RenderSamplesVQZ"), stem,
                     "vqz" + flags + " waveform tone.wav " + stem + ".png" + options,
                     [&](double& millis, std::string& note) {
                         if (variant) note = "thick outline, smoothed";
                         SampleBlock samples = readAudio(joinPath(dir, "tone.wav"));
                         Clock::time_point start = Clock::now();
                         Ref out = renderWaveform(session, samples, settings);
                         millis = since(start);
                         return out;
                     });
    }

    // The binary string round trip.
    {
        std::string stem = fileStem(gallery.tiles.size() + 1, "BinaryString");
        gallery.tile(declarationOf("PicturetoBinaryStringVQZ") + ", then " + declarationOf("BinaryStringtoPictureVQZ"),
                     stem,
                     "vqz" + flags + " encode source.png source.ppic && vqz" + flags + " decode source.ppic " + stem +
                         ".png",
                     [&](double& millis, std::string& note) {
                         Ref picture = session.pictureFromImage(source);
                         Callable encode = session.only("", "PicturetoBinaryStringVQZ");
                         Callable decode = session.only("", "BinaryStringtoPictureVQZ");
                         std::vector<Value> args = {Value::picture(picture.get())};
                         Clock::time_point start = Clock::now();
                         Value text = session.call(encode, nullptr, args);
                         if (text.isNil())
                             throw ToolError("PicturetoBinaryStringVQZ returned nil", kExitNil);
                         std::vector<Value> back = {text};
                         Value out = session.call(decode, nullptr, back);
                         millis = since(start);
                         if (out.isNil()) throw ToolError("BinaryStringtoPictureVQZ returned nil", kExitNil);
                         std::string bytes = standin::stringBytes(text.ref.get());
                         writeFileAtomically(joinPath(dir, "source.ppic"), bytes);
                         Image a = session.imageFromPicture(picture.get()), b = session.imageFromPicture(out.ref.get());
                         size_t differ = 0;
                         if (a.width != b.width || a.height != b.height) {
                             note = "a different size";
                         } else {
                             for (int y = 0; y < a.height; ++y)
                                 for (int x = 0; x < a.width; ++x) differ += a.rgb(x, y) != b.rgb(x, y);
                             note = differ ? std::to_string(differ) + " pixels differ from the source"
                                           : "identical to the source";
                         }
                         note = std::to_string(bytes.size()) + " bytes; " + note;
                         return out.ref;
                     });
    }

    GalleryPage page;
    page.sourceName = sourceName;
    page.sourceCredit = sourceCredit;
    const GlobalOptions& o = session.options();
    page.hostText = std::string(hostKindName(o.host)) + " host, " +
                    (o.hostHasVersion ? "version " + formatDouble(o.hostVersion) : std::string("no version")) +
                    (o.host == standin::AppKind::Desktop
                         ? ", input pictures are " + std::to_string(o.depth) + "-bit GWorlds"
                         : ", input pictures are bitmaps");
    page.sourceImage = "source.png";
    page.sourceThumb = "thumbs/source.png";
    page.sourceWidth = source.width;
    page.sourceHeight = source.height;
    page.tiles = gallery.tiles;

    GalleryRun run;
    run.indexPath = joinPath(dir, "index.html");
    writeFileAtomically(run.indexPath, galleryHtml(page));
    run.tiles = page.tiles.size();
    for (const GalleryTile& t : page.tiles) run.failed += t.image.empty();
    return run;
}

}  // namespace vqz
