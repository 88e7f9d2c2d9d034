// Graphics objects of pictures: ForeColor and pen, DrawLine, and the DrawPicture method.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "host/entry_points.h"
#include "host/modules.h"
#include "host/pictures.h"

namespace standin {
namespace {

const char kDrawPictureDeclaration[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
constexpr int32_t kWholeSource = -10000;

struct Graphics : Object {
    static constexpr ObjectKind kKind = ObjectKind::Graphics;
    Graphics() : Object(kKind) { handle = this; }
    Ref picture;
    uint32_t foreColor = 0;  // black
    int32_t penWidth = 1;
    int32_t penHeight = 1;

    Picture* target() { return static_cast<Picture*>(find(picture.get())); }
    std::string describe() const override {
        auto* p = static_cast<Picture*>(find(picture.get()));
        return "of Picture #" + (p ? std::to_string(p->serial) : std::string("?"));
    }
    void dispose() override { picture = Ref(); }

    bool getProp(const std::string& name, PropValue& out) override {
        out.type = PropValue::Integer;
        if (sameName(name, "ForeColor")) out.i = foreColor;
        else if (sameName(name, "PenWidth")) out.i = penWidth;
        else if (sameName(name, "PenHeight")) out.i = penHeight;
        else return false;
        return true;
    }
    bool setProp(const std::string& name, const PropValue& value) override {
        if (value.type != PropValue::Integer) return false;
        if (sameName(name, "ForeColor")) foreColor = uint32_t(value.i) & 0xFFFFFF;
        else if (sameName(name, "PenWidth")) penWidth = int32_t(value.i);
        else if (sameName(name, "PenHeight")) penHeight = int32_t(value.i);
        else return false;
        return true;
    }
};

struct GraphicsState {
    std::vector<LineRecord> lines;
    int drawPictureCalls = 0;
};
GraphicsState& state() {
    static GraphicsState* s = new GraphicsState;
    return *s;
}

// The pen is a penWidth x penHeight rectangle hanging below and right of the point.
void stamp(Picture* p, int x, int y, int penWidth, int penHeight, uint32_t color) {
    int x0 = std::max(x, 0), y0 = std::max(y, 0);
    int x1 = int(std::min<int64_t>(int64_t(x) + penWidth, p->width));
    int y1 = int(std::min<int64_t>(int64_t(y) + penHeight, p->height));
    for (int yy = y0; yy < y1; ++yy)
        for (int xx = x0; xx < x1; ++xx) p->paint(xx, yy, color);
}

}  // namespace

const std::vector<LineRecord>& drawnLines() { return state().lines; }
int drawPictureCalls() { return state().drawPictureCalls; }

void resetGraphics() {
    state().lines.clear();
    state().drawPictureCalls = 0;
}

namespace entry {

REALgraphicsStruct* pluginPictureGraphicsGetter(REALpictureStruct* picture) {
    Picture* p = lookupAs<Picture>(picture, "pluginPictureGraphicsGetter");
    if (faultHits(Fault::GraphicsCreation) || !p) return nullptr;
    auto g = std::make_unique<Graphics>();
    g->picture = Ref::share(picture);
    return static_cast<REALgraphicsStruct*>(registerObject(std::move(g))->handle);
}

void RuntimeGraphicsDrawLine(REALgraphicsStruct* graphics, int32_t x1, int32_t y1, int32_t x2,
                             int32_t y2) {
    Graphics* g = lookupAs<Graphics>(graphics, "RuntimeGraphicsDrawLine");
    if (!g) return;
    state().lines.push_back(LineRecord{x1, y1, x2, y2, g->foreColor, g->penWidth, g->penHeight});
    Picture* p = g->target();
    if (!p || g->penWidth <= 0 || g->penHeight <= 0) return;
    // Bresenham over 64-bit differences, so no coordinate pair can overflow.
    int64_t x = x1, y = y1;
    int64_t dx = std::llabs(int64_t(x2) - x1), dy = -std::llabs(int64_t(y2) - y1);
    int64_t stepX = x1 < x2 ? 1 : -1, stepY = y1 < y2 ? 1 : -1;
    int64_t err = dx + dy;
    for (;;) {
        stamp(p, int(x), int(y), g->penWidth, g->penHeight, g->foreColor);
        if (x == x2 && y == y2) break;
        int64_t e2 = 2 * err;
        if (e2 >= dy) { err += dy; x += stepX; }
        if (e2 <= dx) { err += dx; y += stepY; }
    }
}

void GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* source, int32_t x,
                         int32_t y, int32_t w, int32_t h, int32_t sx, int32_t sy, int32_t sw,
                         int32_t sh) {
    ++state().drawPictureCalls;
    Graphics* g = lookupAs<Graphics>(graphics, "DrawPicture");
    Picture* src = lookupAs<Picture>(source, "DrawPicture");
    Picture* dst = g ? g->target() : nullptr;
    if (!src || !dst) return;
    if (sw == kWholeSource) sw = src->width;
    if (sh == kWholeSource) sh = src->height;
    if (w <= 0 || h <= 0 || sw <= 0 || sh <= 0) return;
    // Destination columns and rows inside the picture.
    int64_t i0 = std::max<int64_t>(0, -int64_t(x)), i1 = std::min<int64_t>(w, int64_t(dst->width) - x);
    int64_t j0 = std::max<int64_t>(0, -int64_t(y)), j1 = std::min<int64_t>(h, int64_t(dst->height) - y);
    if (i0 >= i1 || j0 >= j1) return;
    // Nearest neighbour: destination offset i samples source sx + i * sw / w. Read
    // everything first, so that drawing a picture into itself reads the old pixels.
    size_t cols = size_t(i1 - i0), rows = size_t(j1 - j0);
    std::vector<uint32_t> samples(cols * rows);
    std::vector<uint8_t> inside(cols * rows);
    for (size_t j = 0; j < rows; ++j) {
        int64_t srcY = sy + (int64_t(j0) + int64_t(j)) * sh / h;
        for (size_t i = 0; i < cols; ++i) {
            int64_t srcX = sx + (int64_t(i0) + int64_t(i)) * sw / w;
            bool in = srcX >= 0 && srcY >= 0 && srcX < src->width && srcY < src->height;
            inside[j * cols + i] = in;
            if (in) samples[j * cols + i] = src->rgbAt(int(srcX), int(srcY));
        }
    }
    for (size_t j = 0; j < rows; ++j)
        for (size_t i = 0; i < cols; ++i)
            if (inside[j * cols + i])
                dst->paint(int(x + i0 + int64_t(i)), int(y + j0 + int64_t(j)), samples[j * cols + i]);
}

void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration) {
    Object* o = lookup(object, "REALLoadObjectMethod");
    if (!o || o->kind != ObjectKind::Graphics || !declaration) return nullptr;
    if (std::strcmp(declaration, kDrawPictureDeclaration) != 0) return nullptr;
    return reinterpret_cast<void*>(&GraphicsDrawPicture);
}

}  // namespace entry
}  // namespace standin
