// The commands with their help texts.
#include <cctype>

#include "tools/commands.h"
#include "tools/errors.h"

namespace vqz {

const char* const kVersion = "0.1.0";

namespace {

const char* const kListUsage = R"(usage: vqz list [PATTERN]

Prints every method the plugin registered, with its declaration: the methods
added to Picture, the global methods, and the members of each class.
PATTERN keeps the names that contain it (case-insensitive; * and ? are
wildcards).
)";

const char* const kApplyUsage = R"(usage: vqz apply IN OUT [CALL ...]
       vqz apply -o DIR [-j N] [--format EXT] IN [IN ...] CALL [CALL ...]

Runs each CALL in turn on the picture read from IN and writes the result to
OUT. A CALL is written as in the host language (quote it for the shell):
    InvertVQZ
    'ChangeContrastVQZ(0.5)'
    'InvertVQZ(10, 10, 200, -1)'
    'TintPictureVQZ(&c555555, &cFFE0B0)'
    'ReplaceRedChannelVQZ(other.png)'
    'ScrollVQZ(40, 20, true, false)'
    'EmbeddedMaskVQZ(false) = mask.png'
The current picture is the receiver of a Picture method and the first picture
argument of a global method. Picture, MemoryBlock and String arguments name
files (a String may also be "quoted text"); other literals are whole numbers
(12, -3, &hFF), colors (&cRRGGBB), numbers (0.5), true, false and nil. The
overload that fits the arguments is chosen, and defaults from the declaration
apply; byref arguments may be left out. A picture result becomes the current
picture; other results and byref arguments are printed. Without a CALL the
picture is only converted.

Options:
  -o, --output DIR   process every IN, writing DIR/<name of IN>
  -j, --jobs N       with -o: use N processes (default 1)
  --format EXT       with -o: write png, jpg, ppm or pgm files
)";

const char* const kEvalUsage = R"(usage: vqz eval IN CALL [CALL ...]

Prints the result of each CALL on the picture read from IN, for example
    vqz eval in.png 'isGrayVQZ(5)'
    vqz eval in.png ColornessVQZ
    vqz eval in.png 'CountColorVQZ(&cFFFFFF)'
    vqz eval in.png 'FindPicture(part.png)'
byref arguments follow as NAME = VALUE. A call that returns a picture makes it
the current picture for the calls after it.
)";

const char* const kLutUsage = R"(usage: vqz lut IN CUBE OUT [--rect MINX,MINY,MAXX,MAXY]

Maps IN through the color lookup table of a .cube file with the class
PictureLut3DVQZ and writes OUT. The file may have 2 to 65 nodes per axis
(LUT_3D_SIZE), or be a per-channel curve (LUT_1D_SIZE); DOMAIN_MIN and
DOMAIN_MAX are honoured. Its lattice is resampled to the class's lattice (a
node every 17 levels) by tetrahedral interpolation.

Options:
  --rect MINX,MINY,MAXX,MAXY   the class's MinX, MinY, MaxX and MaxY (it maps a
                               block of that size at the top-left corner and
                               leaves the rest as a new picture; the default
                               0,0,0,0 maps the whole picture)
)";

const char* const kSepiaUsage = R"(usage: vqz sepia IN OUT [--weights R,G,B] [--offsets R,G,B] [--rect ...]

Tones IN with the class PictureSepiaVQZ and writes OUT: every pixel becomes a
weighted gray, plus an offset per channel.

Options:
  --weights R,G,B   weights of red, green and blue in the gray (default
                    0.299,0.587,0.114, the class's own; the class keeps the
                    green weight in FactorBlue and the blue one in FactorGreen)
  --offsets R,G,B   added to the gray for red, green and blue (SepiaRed,
                    SepiaGreen, SepiaBlue; default 0,0,0; try 40,20,-20)
  --rect MINX,MINY,MAXX,MAXY   as for vqz lut
)";

const char* const kWaveformUsage = R"(usage: vqz waveform AUDIO OUT [options]

Draws the samples of a WAV, FLAC or Ogg file with RenderSamplesVQZ. 8-bit
unsigned audio is passed as Bits 8, 16-bit audio as Bits 15, anything else
converted to 16-bit; the channels are mixed to mono.

Options:
  --width W        picture width (default 800; 0: one column per sample)
  --height H       picture height (default 200; 0: the method's default)
  --smooth N       Smooth (default 1: no smoothing)
  --outline N      outline width (default 1; 0: none)
  --colors B,F,O   background, bars and outline as &cRRGGBB or #RRGGBB
                   (default: the declaration's defaults)
  --autoscale      scale the loudest column to the full height
)";

const char* const kEncodeUsage = R"(usage: vqz encode IN OUT.ppic

Converts a picture to the binary string picture format with
PicturetoBinaryStringVQZ and writes the string's bytes to OUT.
)";

const char* const kDecodeUsage = R"(usage: vqz decode IN.ppic OUT

Reads a binary string picture with BinaryStringtoPictureVQZ and writes it as an
image file.
)";

const char* const kFindUsage = R"(usage: vqz find HAYSTACK NEEDLE

Looks for an exact copy of NEEDLE inside HAYSTACK with FindPicture and prints
the column and row of its top-left corner as "X Y". Exit status 1 when it is
not found.
)";

const char* const kHistogramUsage = R"(usage: vqz histogram IN [-o PLOT.png]

Counts the values of each channel with CountColorsVQZ and prints a summary
(mean, median, range, most common value). -o also writes a plot.
)";

const char* const kGalleryUsage = R"(usage: vqz gallery IN [-o DIR]

Applies every registered method that makes a picture to IN, with chosen
arguments, plus both filter classes, a waveform and the binary string round
trip, and writes DIR/index.html: a page of thumbnails, each with the exact
call that made it and the time it took (default DIR: gallery).
)";

const char* const kDemoUsage = R"(usage: vqz demo [-o DIR]

The gallery on the built-in sample picture (coffee.png, CC0 by Rachel
Michetti, from scikit-image's sample data). Default DIR: gallery.
)";

}  // namespace

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        {"list", "print every registered method with its declaration", kListUsage, runList},
        {"apply", "run calls on a picture and write the result", kApplyUsage, runApply},
        {"eval", "print the result of tests and measures", kEvalUsage, runEval},
        {"lut", "apply a .cube color lookup table (PictureLut3DVQZ)", kLutUsage, runLut},
        {"sepia", "tone a picture (PictureSepiaVQZ)", kSepiaUsage, runSepia},
        {"waveform", "draw an audio file (RenderSamplesVQZ)", kWaveformUsage, runWaveform},
        {"encode", "picture to the binary string format", kEncodeUsage, runEncode},
        {"decode", "binary string format to picture", kDecodeUsage, runDecode},
        {"find", "find a picture inside another (FindPicture)", kFindUsage, runFind},
        {"histogram", "channel histograms (CountColorsVQZ)", kHistogramUsage, runHistogram},
        {"gallery", "every method on a picture, as a web page", kGalleryUsage, runGallery},
        {"demo", "the gallery on the built-in sample picture", kDemoUsage, runDemo},
    };
    return table;
}

const Command* findCommand(const std::string& name) {
    for (const Command& c : commands())
        if (name == c.name) return &c;
    return nullptr;
}

void usageError(const std::string& command, const std::string& problem) {
    throw ToolError(command + ": " + problem + " (see vqz " + command + " --help)");
}

}  // namespace vqz
