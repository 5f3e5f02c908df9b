// The windows' type faces and pictures: four 32 x 32 arrows for the move buttons, drawn on a
// white ground whose white then becomes transparent, the three 16 x 16 log pictures and the
// splash picture, all drawn once per process with GDI.
#include <cstdint>
#include <vector>

#include "window/win32/window_win32_internal.h"

namespace window::win32 {

// Font height in pixels for a size in hundredths of a point, at the screen's resolution.
static int FontHeight(int centiPoints) {
    HDC screen = GetDC(nullptr);
    const int height = -MulDiv(centiPoints, GetDeviceCaps(screen, LOGPIXELSY), 7200);
    ReleaseDC(nullptr, screen);
    return height;
}

static HFONT NewFont(const wchar_t* face, int centiPoints, bool bold) {
    return CreateFontW(FontHeight(centiPoints), 0, 0, 0, bold ? FW_BOLD : FW_NORMAL, FALSE, FALSE,
                       FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                       DEFAULT_QUALITY, DEFAULT_PITCH | FF_SWISS, face);
}

HFONT WindowFont(bool bold) {
    static HFONT regular = NewFont(L"MS Sans Serif", 975, false);
    static HFONT heavy = NewFont(L"MS Sans Serif", 975, true);
    return bold ? heavy : regular;
}

HFONT StartUpFont() {
    static HFONT font = NewFont(L"Verdana", 1200, true);
    return font;
}

// A top-down 24-bit picture that GDI draws into and whose pixels can be read and changed.
struct Canvas {
    HDC dc = nullptr;
    HBITMAP bitmap = nullptr;
    HGDIOBJ previous = nullptr;
    std::uint8_t* bits = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;

    Canvas(int w, int h, COLORREF ground) : width(w), height(h), stride((w * 3 + 3) & ~3) {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
        info.bmiHeader.biWidth = w;
        info.bmiHeader.biHeight = -h;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 24;
        info.bmiHeader.biCompression = BI_RGB;
        void* pixels = nullptr;
        dc = CreateCompatibleDC(nullptr);
        bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
        bits = static_cast<std::uint8_t*>(pixels);
        previous = SelectObject(dc, bitmap);
        Fill(RECT{0, 0, w, h}, ground);
    }
    // Gives the bitmap away.
    HBITMAP Take() {
        GdiFlush();
        SelectObject(dc, previous);
        DeleteDC(dc);
        dc = nullptr;
        return bitmap;
    }
    ~Canvas() {
        if (dc == nullptr) return;
        SelectObject(dc, previous);
        DeleteDC(dc);
        DeleteObject(bitmap);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void Fill(RECT rect, COLORREF colour) {
        HBRUSH brush = CreateSolidBrush(colour);
        FillRect(dc, &rect, brush);
        DeleteObject(brush);
    }
    void Polygon(const std::vector<POINT>& points, COLORREF colour) {
        HBRUSH brush = CreateSolidBrush(colour);
        HGDIOBJ oldBrush = SelectObject(dc, brush);
        HGDIOBJ oldPen = SelectObject(dc, GetStockObject(NULL_PEN));
        ::Polygon(dc, points.data(), static_cast<int>(points.size()));
        SelectObject(dc, oldPen);
        SelectObject(dc, oldBrush);
        DeleteObject(brush);
    }
    void Lines(const std::vector<POINT>& points, COLORREF colour, int penWidth) {
        LOGBRUSH brush{BS_SOLID, colour, 0};
        HPEN pen = ExtCreatePen(PS_GEOMETRIC | PS_SOLID | PS_ENDCAP_ROUND | PS_JOIN_ROUND,
                                static_cast<DWORD>(penWidth), &brush, 0, nullptr);
        HGDIOBJ oldPen = SelectObject(dc, pen);
        Polyline(dc, points.data(), static_cast<int>(points.size()));
        SelectObject(dc, oldPen);
        DeleteObject(pen);
    }
    COLORREF Pixel(int x, int y) const {
        const std::uint8_t* p = bits + y * stride + x * 3;
        return RGB(p[2], p[1], p[0]);
    }
    void SetPixelColour(int x, int y, COLORREF colour) {
        std::uint8_t* p = bits + y * stride + x * 3;
        p[0] = GetBValue(colour);
        p[1] = GetGValue(colour);
        p[2] = GetRValue(colour);
    }
};

static constexpr COLORREF kWhite = RGB(255, 255, 255);
static constexpr COLORREF kArrowColour = RGB(0, 0, 128);
static constexpr COLORREF kStarColour = RGB(255, 255, 0);

// A right-pointing arrow across the picture; `mirrored` turns it to the left.
static std::vector<POINT> ArrowShape(bool mirrored) {
    std::vector<POINT> arrow{{3, 12}, {16, 12}, {16, 4}, {28, 16}, {16, 28}, {16, 20}, {3, 20}};
    if (mirrored) {
        for (POINT& point : arrow) point.x = 31 - point.x;
    }
    return arrow;
}

// Three strokes through a centre; drawn into the arrow's shaft.
static void DrawAsterisk(Canvas& canvas, POINT c) {
    canvas.Lines({{c.x - 3, c.y}, {c.x + 3, c.y}}, kStarColour, 2);
    canvas.Lines({{c.x - 2, c.y - 3}, {c.x + 2, c.y + 3}}, kStarColour, 2);
    canvas.Lines({{c.x - 2, c.y + 3}, {c.x + 2, c.y - 3}}, kStarColour, 2);
}

HICON ArrowPicture(Arrow arrow) {
    Canvas canvas(32, 32, kWhite);
    const bool left = arrow == Arrow::Left || arrow == Arrow::LeftAll;
    canvas.Polygon(ArrowShape(left), kArrowColour);
    if (arrow == Arrow::RightAll) DrawAsterisk(canvas, POINT{19, 16});
    if (arrow == Arrow::LeftAll) DrawAsterisk(canvas, POINT{12, 16});
    GdiFlush();
    // The mask marks the white ground; the picture goes black there so that the button's own
    // face shows through.
    std::uint8_t mask[32 * 4] = {};
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 32; ++x) {
            if (canvas.Pixel(x, y) != kWhite) continue;
            mask[y * 4 + x / 8] |= static_cast<std::uint8_t>(0x80 >> (x % 8));
            canvas.SetPixelColour(x, y, RGB(0, 0, 0));
        }
    }
    HBITMAP maskBitmap = CreateBitmap(32, 32, 1, 1, mask);
    ICONINFO info{TRUE, 0, 0, maskBitmap, canvas.Take()};
    HICON icon = CreateIconIndirect(&info);
    DeleteObject(info.hbmColor);
    DeleteObject(maskBitmap);
    return icon;
}

static constexpr COLORREF kMaskColour = RGB(255, 0, 255);

static HBITMAP LogPicture(std::int16_t icon) {
    Canvas canvas(16, 16, kMaskColour);
    switch (icon) {
        case kIconFailed:
            canvas.Lines({{4, 4}, {12, 12}}, RGB(220, 0, 0), 3);
            canvas.Lines({{12, 4}, {4, 12}}, RGB(220, 0, 0), 3);
            break;
        case kIconDone:
            canvas.Lines({{3, 8}, {7, 12}, {13, 4}}, RGB(0, 64, 224), 3);
            break;
        case kIconInProgress:
            canvas.Polygon({{4, 2}, {14, 8}, {4, 14}}, RGB(0, 160, 0));
            break;
        default:
            break;
    }
    return canvas.Take();
}

HIMAGELIST LogPictures() {
    static HIMAGELIST pictures = [] {
        HIMAGELIST list = ImageList_Create(16, 16, ILC_COLOR24 | ILC_MASK, 3, 0);
        for (std::int16_t icon : {kIconFailed, kIconDone, kIconInProgress}) {
            HBITMAP picture = LogPicture(icon);
            ImageList_AddMasked(list, picture, kMaskColour);
            DeleteObject(picture);
        }
        return list;
    }();
    return pictures;
}

// The splash picture: a night-blue field with faint class boxes, the two-way transfer emblem,
// the product name, and a dark band where the version and progress lines stand.
HBITMAP SplashPicture() {
    static HBITMAP picture = [] {
        constexpr int kW = 402;
        constexpr int kH = 485;
        Canvas canvas(kW, kH, RGB(12, 28, 52));
        for (int y = 0; y < kH; y += 5) {
            const int shade = 40 - y * 28 / kH;
            canvas.Fill(RECT{0, y, kW, y + 5}, RGB(shade / 2, shade, shade * 2));
        }
        HPEN pen = CreatePen(PS_SOLID, 1, RGB(44, 70, 110));
        HGDIOBJ oldPen = SelectObject(canvas.dc, pen);
        HGDIOBJ oldBrush = SelectObject(canvas.dc, GetStockObject(NULL_BRUSH));
        const RECT boxes[] = {
            {24, 28, 112, 92}, {290, 40, 378, 112}, {40, 250, 136, 318}, {272, 236, 370, 300}};
        for (const RECT& box : boxes) {
            Rectangle(canvas.dc, box.left, box.top, box.right, box.bottom);
            MoveToEx(canvas.dc, box.left, box.top + 18, nullptr);
            LineTo(canvas.dc, box.right, box.top + 18);
        }
        SelectObject(canvas.dc, oldBrush);
        SelectObject(canvas.dc, oldPen);
        DeleteObject(pen);

        // Two arrows, one each way, in the upper middle.
        canvas.Polygon(
            {{131, 118}, {241, 118}, {241, 100}, {275, 130}, {241, 160}, {241, 142}, {131, 142}},
            RGB(90, 170, 240));
        canvas.Polygon(
            {{271, 166}, {161, 166}, {161, 148}, {127, 178}, {161, 208}, {161, 190}, {271, 190}},
            RGB(240, 190, 70));

        HFONT title = CreateFontW(-46, 0, 0, 0, FW_BOLD, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY,
                                  DEFAULT_PITCH | FF_SWISS, L"Verdana");
        HGDIOBJ oldFont = SelectObject(canvas.dc, title);
        SetBkMode(canvas.dc, TRANSPARENT);
        SetTextColor(canvas.dc, RGB(242, 245, 250));
        RECT line{0, 300, kW, 360};
        DrawTextW(canvas.dc, L"Corvansil", -1, &line, DT_CENTER | DT_SINGLELINE | DT_VCENTER);
        SelectObject(canvas.dc, oldFont);
        DeleteObject(title);

        // The band behind lblVersion (top 6200 twips) and lblStartUp (bottom 6755 twips).
        canvas.Fill(RECT{0, 404, kW, 456}, RGB(8, 16, 30));
        return canvas.Take();
    }();
    return picture;
}

}  // namespace window::win32
