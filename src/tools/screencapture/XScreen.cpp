#include "tools/screencapture/XScreen.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <bit>
#include <utility>
#include <vector>

namespace tools {

struct XScreen::Connection {
    Display* display = nullptr;
    explicit Connection(Display* opened) : display(opened) {}
    ~Connection() { XCloseDisplay(display); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    int screen() const { return XDefaultScreen(display); }
    Window root() const { return XRootWindow(display, screen()); }

    // The numbers of a property of the root window; none if it has no such property.
    std::vector<long> numbers(const char* name) const {
        std::vector<long> values;
        const Atom property = XInternAtom(display, name, True);
        Atom type = 0;
        int format = 0;
        unsigned long count = 0;
        unsigned long left = 0;
        unsigned char* bytes = nullptr;
        constexpr long kMost = 1024;
        if (property != 0 && XGetWindowProperty(display, root(), property, 0, kMost, False, XA_CARDINAL,
                                                &type, &format, &count, &left, &bytes) == Success) {
            // Xlib hands 32-bit values over as longs.
            if (format == 32 && type == XA_CARDINAL) {
                const auto* first = reinterpret_cast<const long*>(static_cast<const void*>(bytes));
                values.assign(first, first + count);
            }
        }
        if (bytes)
            XFree(bytes);
        return values;
    }
};

namespace {

struct ImageDeleter {
    void operator()(XImage* image) const { XDestroyImage(image); }
};

// One colour of a point, brought to eight bits.
uint8_t colour(unsigned long point, unsigned long mask) {
    if (mask == 0)
        return 0;
    const unsigned long most = mask >> std::countr_zero(mask);
    return static_cast<uint8_t>(((point & mask) >> std::countr_zero(mask)) * 255 / most);
}

// Of a row whose points are bytes already: blue, green, red and one without a meaning.
void appendRow(const XImage& image, int y, Picture& picture) {
    const auto* const row = reinterpret_cast<const uint8_t*>(image.data) +
                            static_cast<size_t>(y) * static_cast<size_t>(image.bytes_per_line);
    for (const uint8_t* point = row; point != row + ptrdiff_t{4} * picture.width; point += 4)
        picture.points.insert(picture.points.end(), {point[2], point[1], point[0]});
}

bool isPlain(const XImage& image, const Visual& visual) {
    return image.bits_per_pixel == 32 && image.byte_order == LSBFirst && visual.red_mask == 0xff0000 &&
           visual.green_mask == 0xff00 && visual.blue_mask == 0xff;
}

}  // namespace

std::optional<XScreen> XScreen::open() {
    // A request that fails shows in its answer; Xlib would end the program.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return std::nullopt;
    return XScreen(std::make_shared<Connection>(display));
}

int XScreen::width() const {
    return XDisplayWidth(connection_->display, connection_->screen());
}

int XScreen::height() const {
    return XDisplayHeight(connection_->display, connection_->screen());
}

Rectangle XScreen::workArea() const {
    const Rectangle whole{0, 0, width(), height()};
    const auto areas = connection_->numbers("_NET_WORKAREA");
    const auto current = connection_->numbers("_NET_CURRENT_DESKTOP");
    size_t first = current.empty() || current[0] < 0 ? 0 : static_cast<size_t>(current[0]) * 4;
    if (first + 4 > areas.size())
        first = 0;
    if (areas.size() < 4 || areas[first + 2] <= 0 || areas[first + 3] <= 0)
        return whole;
    const Rectangle area{static_cast<int>(areas[first]), static_cast<int>(areas[first + 1]),
                         static_cast<int>(areas[first + 2]), static_cast<int>(areas[first + 3])};
    return partOnScreen(area, whole.width, whole.height);
}

std::optional<Picture> XScreen::grab(const Rectangle& part, std::string& fault) const {
    if (part.width <= 0 || part.height <= 0) {
        fault = "the rectangle is outside the screen";
        return std::nullopt;
    }
    const std::unique_ptr<XImage, ImageDeleter> image(
        XGetImage(connection_->display, connection_->root(), part.x, part.y,
                  static_cast<unsigned>(part.width), static_cast<unsigned>(part.height), AllPlanes, ZPixmap));
    if (!image) {
        fault = "the X server gives no picture of the screen";
        return std::nullopt;
    }
    const Visual* visual = XDefaultVisual(connection_->display, connection_->screen());
    if (visual->red_mask == 0 || visual->green_mask == 0 || visual->blue_mask == 0) {
        fault = "a screen with a colour table cannot be captured";
        return std::nullopt;
    }
    Picture picture{part.width, part.height, {}};
    picture.points.reserve(size_t{3} * static_cast<size_t>(part.width) * static_cast<size_t>(part.height));
    const bool plain = isPlain(*image, *visual);
    for (int y = 0; y < part.height; ++y) {
        if (plain)
            appendRow(*image, y, picture);
        for (int x = 0; x < part.width && !plain; ++x) {
            const unsigned long point = XGetPixel(image.get(), x, y);
            for (const unsigned long mask : {visual->red_mask, visual->green_mask, visual->blue_mask})
                picture.points.push_back(colour(point, mask));
        }
    }
    return picture;
}

}  // namespace tools
