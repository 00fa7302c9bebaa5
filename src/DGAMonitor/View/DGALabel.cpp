#include "DGAMonitor/View/DGALabel.h"

#include <QCache>
#include <QHashFunctions>

namespace {

constexpr int kKnownSizes = 256;
constexpr int kHint = -1;
constexpr int kSmallestHint = -2;

/// What the size of a text depends on. The margins of these labels are their style's.
struct Measurement {
    QString text;
    QFont font;
    int width;  ///< or which hint
    int dotsPerInch;

    bool operator==(const Measurement&) const = default;
};

size_t qHash(const Measurement& measurement, size_t seed = 0) {
    return qHashMulti(seed, measurement.text, measurement.width);
}

QCache<Measurement, QSize>& knownSizes() {
    static auto* const sizes = new QCache<Measurement, QSize>(kKnownSizes);
    return *sizes;
}

template <typename Measure>
QSize known(const QLabel& label, int width, Measure measure) {
    const Measurement key{label.text(), label.font(), width, label.logicalDpiY()};
    if (const QSize* const size = knownSizes().object(key))
        return *size;
    const QSize size = measure();
    knownSizes().insert(key, new QSize(size));
    return size;
}

}  // namespace

int DGALabel::heightForWidth(int width) const {
    return known(*this, width, [&] { return QSize(width, QLabel::heightForWidth(width)); }).height();
}

QSize DGALabel::sizeHint() const {
    return known(*this, kHint, [this] { return QLabel::sizeHint(); });
}

QSize DGALabel::minimumSizeHint() const {
    return known(*this, kSmallestHint, [this] { return QLabel::minimumSizeHint(); });
}
