#include "utilities/segments.h"

#include <algorithm>

#include "core/random.h"
#include "veldane.h"

namespace veldane {
namespace {

void numberObjects(int count, float* to) {
    for (int i = 0; i < count; ++i) to[i] = static_cast<float>(i + 1);
}

/// Fisher and Yates, forward. A draw has 15 bits, and it is wanted that an object then moves no
/// further than 32767 places at a time.
FVector permutation(int count) {
    FVector numbers(count);
    numberObjects(count, numbers.data());
    for (int i = 0; i + 1 < count; ++i) {
        const int draw = nextRandom();
        const int left = count - i;
        std::swap(numbers[i], numbers[i + (draw < left ? draw : draw % left)]);
    }
    return numbers;
}

/// As many full segments as there are objects for: `segmentCount` only tells what must be possible,
/// and it is wanted that it does not limit the segments.
FMatrix emptySegments(int segmentSize, int segmentCount, int objectCount) {
    if (segmentSize < 1 || segmentSize > objectCount) return {};
    if (int64_t{segmentSize} * segmentCount > objectCount) return {};
    const bool shortRow = objectCount % segmentSize != 0;
    FMatrix segments(objectCount / segmentSize + (shortRow ? 1 : 0), segmentSize);
    if (shortRow) std::fill_n(segments[segments.rows() - 1], segmentSize, 0.0f);
    return segments;
}

/// Column by column; the columns behind those of the short row do not reach into it.
void interleave(const FMatrix& segments, int objectCount) {
    const int fullRows = objectCount / segments.cols();
    const int remainder = objectCount % segments.cols();
    IVector before(segments.cols());
    for (int c = 0; c < segments.cols(); ++c) before[c] = c * fullRows + std::min(c, remainder);
    for (int i = 0; i < segments.rows(); ++i) {
        const int* start = before.data();
        float* row = segments[i];
        const int present = i < fullRows ? segments.cols() : remainder;
        for (int c = 0; c < present; ++c) row[c] = static_cast<float>(start[c] + i + 1);
    }
}

}  // namespace

FMatrix validationSegments(int method, int segmentSize, int segmentCount, int objectCount) {
    if (method == VELDANE_SEGMENTS_ALL) {
        FMatrix all(1, objectCount);
        numberObjects(objectCount, all.storage().data());
        return all;
    }
    if (method < VELDANE_SEGMENTS_RANDOM || method > VELDANE_SEGMENTS_INTERLEAVED) return {};
    // Drawn before the sizes are looked at: a refused call advances the random numbers all the
    // same.
    const bool random = method == VELDANE_SEGMENTS_RANDOM;
    const FVector shuffled = random ? permutation(objectCount) : FVector();
    FMatrix segments = emptySegments(segmentSize, segmentCount, objectCount);
    if (segments.size() == 0) return segments;
    if (random) {
        std::copy(shuffled.begin(), shuffled.end(), segments[0]);
    } else if (method == VELDANE_SEGMENTS_CONSECUTIVE) {
        numberObjects(objectCount, segments[0]);
    } else {
        interleave(segments, objectCount);
    }
    return segments;
}

}  // namespace veldane
