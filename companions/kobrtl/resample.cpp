// The vertical pass comes first: it sums up source rows to a band of a few destination rows, which streams through the
// picture once and vectorises whatever the pixels are. It advances by some columns at a time, and the horizontal pass
// follows it at once over a window of these columns that stays in the cache. Between the passes samples are floats: a
// rounding there would cost more closeness to the ideal than all else together.
//
// The passes are exchanged by transposing the picture, its rows for its columns, pixel by pixel on its way in and out.
//
// A picture of 32 bits begins as one that is opaque, since nearly all are. The first pixels that aren't start it over
// with colours weighted by their opacity.
#include "companions/kobrtl/resample.h"

#include <string.h>

#include "companions/kobrtl/row_source.h"

namespace kobrtl {

namespace {

constexpr unsigned kTilePixels = kColumns; // so a tile of any kind of pixel has a multiple of kColumns columns
constexpr unsigned kStepPixels = 4 * kTilePixels;

// What a band's rows may hold of a strip, so that those which the next band needs too are still in the processor's
// second cache: nearly half of them are, and a wide band would otherwise fetch them from memory again.
constexpr size_t kStripBytes = 384 * 1024;

// What it takes to transpose a pixel of the source, and one of the destination, in the time of one step of
// better_orientation(). With this much, no picture is transposed whose height grows less than sixteenfold.
constexpr unsigned kTransposeIn = 32, kTransposeOut = 2;

enum class Outcome { done, no_memory, not_opaque };

// Columns of the destination that are done from the first band to the last before the next ones.
struct Strip {
    unsigned begin, end;         // of the destination
    unsigned first_pixel, limit; // of the source: what its pixels are made of
};

class Resampler {
public:
    Resampler(const Picture& source, const Canvas& canvas, const RowKernels& kernels, RowForm form,
              Orientation orientation)
        : m_source(source), m_target(canvas), m_canvas(canvas), m_kernels(kernels), m_form(form),
          m_orientation(orientation), m_rows(source, form, orientation), m_channels(m_rows.channels()) {
        if (orientation == Orientation::transposed) {
            exchange(m_source.width, m_source.height);
            exchange(m_canvas.width, m_canvas.height);
        }
    }

    Outcome run(const FilterPair& filters);

private:
    static void exchange(unsigned& a, unsigned& b) {
        const unsigned c = a;
        a = b;
        b = c;
    }
    bool prepare(const FilterPair& filters);
    Strip strip_from(unsigned begin) const;
    void begin_band(unsigned y);
    unsigned row_of_lane(unsigned y, unsigned lane) const {
        return y + lane < m_canvas.height ? y + lane : m_canvas.height - 1;
    }
    unsigned first_row(unsigned y) const;
    bool scale_band(unsigned y, const Strip& strip);
    uint8_t* row_of(unsigned y, unsigned lane) const;
    void write_transposed(unsigned y, const Strip& strip) const;
    bool is_opaque(unsigned pixel, unsigned count) const;
    void free_columns(unsigned oldest, unsigned pixel);
    void sum_rows(unsigned pixel, unsigned count);
    void sum_tile(unsigned pixel, unsigned count);

    // The place of a source pixel's samples in the window.
    float* samples(unsigned pixel) const {
        return m_window.data() + static_cast<size_t>(pixel - m_origin) * m_channels * m_kernels.lanes;
    }

    // As they are scaled: transposed, if they are.
    Picture m_source;
    const Canvas& m_target; // as the caller has it
    Canvas m_canvas;
    const RowKernels& m_kernels;
    const RowForm m_form;
    const Orientation m_orientation;
    const RowSource m_rows;
    const unsigned m_channels;

    AxisWeights m_down, m_across;
    PairWeights m_down_pairs;
    bool m_direct = false; // whether source rows are used as they lie
    Block<uint8_t> m_tile; // else one tile of each of the band's rows
    Block<uint8_t> m_band; // of the transposed canvas
    Block<float> m_window; // the samples of m_window_pixels pixels
    unsigned m_window_pixels = 0;
    unsigned m_origin = 0; // the source pixel that the window begins with
    RowSum m_sums[kMostLanes] = {};
    float m_units[kMostLanes] = {}; // of the samples of bytes
    unsigned m_first_row = 0;       // of the band
    unsigned m_row_count = 0;
    unsigned m_strip_pixels = 0; // of the source, about
    unsigned m_known_opaque = 0; // rows below this one are
};

const Filter& filter_for(const FilterPair& filters, unsigned from, unsigned to) {
    return from > to ? filters.shrink : filters.grow;
}

bool Resampler::prepare(const FilterPair& filters) {
    if (!m_down.build(m_source.height, m_canvas.height, filter_for(filters, m_source.height, m_canvas.height)) ||
        !m_across.build(m_source.width, m_canvas.width, filter_for(filters, m_source.width, m_canvas.width)) ||
        (m_form == RowForm::bytes && !m_down_pairs.build(m_down)))
        return false;

    unsigned most_rows = 1; // as each band has
    for (unsigned y = 0; y < m_canvas.height; y += m_kernels.lanes) {
        begin_band(y);
        most_rows = m_row_count > most_rows ? m_row_count : most_rows;
    }
    // Wide enough that what is still needed at its end is seldom moved to its beginning.
    m_window_pixels = 2 * m_across.most_taps() + 2 * kStepPixels;
    m_strip_pixels = static_cast<unsigned>(8 * kStripBytes / (static_cast<size_t>(most_rows) * m_source.bpp));
    m_direct = m_rows.is_direct() && !m_down_pairs.reads_behind();
    return (m_orientation == Orientation::upright ||
            m_band.allocate(static_cast<size_t>(m_kernels.lanes) * m_canvas.width * m_channels)) &&
           m_tile.allocate(static_cast<size_t>(most_rows + 1) * kTilePixels * m_channels * m_rows.sample_size()) &&
           m_window.allocate(static_cast<size_t>(m_window_pixels) * m_channels * m_kernels.lanes);
}

Outcome Resampler::run(const FilterPair& filters) {
    if (!prepare(filters))
        return Outcome::no_memory;
    for (unsigned x = 0; x < m_canvas.width;) {
        const Strip strip = strip_from(x);
        m_known_opaque = 0;
        for (unsigned y = 0; y < m_canvas.height; y += m_kernels.lanes) {
            begin_band(y);
            if (!scale_band(y, strip))
                return Outcome::not_opaque;
            if (m_orientation == Orientation::transposed)
                write_transposed(y, strip);
        }
        x = strip.end;
    }
    return Outcome::done;
}

// As wide as the cache allows, but wide enough that what it shares with its neighbours is little.
Strip Resampler::strip_from(unsigned begin) const {
    const unsigned first = begin ? m_across.taps(begin).first : 0;
    const unsigned least = 8 * (m_across.most_taps() + kStepPixels);
    const unsigned wanted = m_strip_pixels > least ? m_strip_pixels : least;
    if (m_source.width - first < wanted + wanted / 4)
        return {begin, m_canvas.width, first, m_source.width};
    // It ends before the last pixel, whose taps reach the source's end, which is further away than what is wanted.
    unsigned end = begin + 1;
    while (m_across.taps(end).first + m_across.taps(end).count <= first + wanted)
        ++end;
    const AxisWeights::Taps& last = m_across.taps(end - 1);
    return {begin, end, first, last.first + last.count};
}

// Below the last row of the destination it is repeated. A lane may begin one row above the first lane, with a weight of
// 0.
void Resampler::begin_band(unsigned y) {
    m_first_row = first_row(y);
    for (unsigned lane = 1; lane < m_kernels.lanes; ++lane) {
        const unsigned first = first_row(row_of_lane(y, lane));
        m_first_row = first < m_first_row ? first : m_first_row;
    }
    unsigned end = m_first_row;
    for (unsigned lane = 0; lane < m_kernels.lanes; ++lane) {
        const unsigned row = row_of_lane(y, lane);
        const AxisWeights::Taps& taps = m_down.taps(row);
        m_sums[lane] = {first_row(row) - m_first_row, taps.count, m_down.weights(taps)};
        if (m_form == RowForm::bytes) {
            const PairWeights::Set& set = m_down_pairs.set(row);
            m_sums[lane].count = 2 * set.pairs;
            m_sums[lane].weights = set.weights;
            m_units[lane] = set.unit;
        }
        end = taps.first + taps.count > end ? taps.first + taps.count : end;
    }
    m_row_count = end - m_first_row;
}

unsigned Resampler::first_row(unsigned y) const {
    return m_down.taps(y).first - (m_form == RowForm::bytes ? m_down_pairs.set(y).lead : 0);
}

// False if a pixel is not opaque although the form of the rows says so.
bool Resampler::scale_band(unsigned y, const Strip& strip) {
    uint8_t* rows[kMostLanes];
    for (unsigned lane = 0; lane < m_kernels.lanes; ++lane)
        rows[lane] = row_of(y, lane);

    m_origin = strip.first_pixel;
    unsigned next = strip.begin; // the first pixel of the destination that isn't done
    for (unsigned pixel = strip.first_pixel; pixel < strip.limit;) {
        const unsigned left = strip.limit - pixel;
        const unsigned count = left < kStepPixels ? left : kStepPixels;
        free_columns(m_across.taps(next).first, pixel);
        sum_rows(pixel, count);
        // Only now, when the pixels have come from memory.
        if (m_form == RowForm::bytes && m_orientation == Orientation::upright && m_source.bpp == 32 &&
            !is_opaque(pixel, count))
            return false;
        pixel += count;

        HorizontalRun run = {m_window.data(), m_origin, &m_across, next, next, m_channels, m_units};
        while (run.end < strip.end && m_across.taps(run.end).first + m_across.taps(run.end).count <= pixel)
            ++run.end;
        if (m_form == RowForm::bytes)
            m_kernels.horizontal(run, rows);
        else
            m_kernels.horizontal_weighted(run, rows);
        next = run.end;
    }
    m_known_opaque = m_first_row + m_row_count;
    return true;
}

// Where a row of the band is written.
uint8_t* Resampler::row_of(unsigned y, unsigned lane) const {
    if (m_orientation == Orientation::transposed)
        return m_band.data() + static_cast<size_t>(lane) * m_canvas.width * m_channels;
    return m_canvas.row(row_of_lane(y, lane));
}

// Brings the strip of a band of the transposed canvas to its place.
void Resampler::write_transposed(unsigned y, const Strip& strip) const {
    for (unsigned x = strip.begin; x < strip.end; ++x)
        for (unsigned lane = 0; lane < m_kernels.lanes && y + lane < m_canvas.height; ++lane)
            memcpy(m_target.row(x) + static_cast<size_t>(y + lane) * m_channels,
                   row_of(y, lane) + static_cast<size_t>(x) * m_channels, m_channels);
}

bool Resampler::is_opaque(unsigned pixel, unsigned count) const {
    for (unsigned y = m_first_row < m_known_opaque ? m_known_opaque : m_first_row; y < m_first_row + m_row_count; ++y)
        if (!m_kernels.opaque(m_rows.row(y) + static_cast<size_t>(pixel) * 4, count))
            return false;
    return true;
}

// Makes the window take a step's columns from `pixel` on, and keeps those from `oldest` on.
void Resampler::free_columns(unsigned oldest, unsigned pixel) {
    if (pixel - m_origin + kStepPixels <= m_window_pixels)
        return;
    const unsigned kept = oldest < pixel ? pixel - oldest : 0;
    memmove(m_window.data(), samples(pixel - kept),
            static_cast<size_t>(kept) * m_channels * m_kernels.lanes * sizeof(float));
    m_origin = pixel - kept;
}

void Resampler::sum_rows(unsigned pixel, unsigned count) {
    unsigned done = 0;
    if (m_direct) {
        done = count / kTilePixels * kTilePixels;
        const uint8_t* rows = m_rows.row(m_first_row) + static_cast<size_t>(pixel) * m_channels;
        const size_t columns = static_cast<size_t>(done) * m_channels;
        m_kernels.vertical_bytes({rows, m_rows.stride(), m_row_count, m_sums, columns}, samples(pixel));
    }
    for (; done < count; done += kTilePixels)
        sum_tile(pixel + done, count - done < kTilePixels ? count - done : kTilePixels);
}

void Resampler::sum_tile(unsigned pixel, unsigned count) {
    const size_t columns = static_cast<size_t>(kTilePixels) * m_channels;
    const size_t stride = columns * m_rows.sample_size();
    const size_t used = static_cast<size_t>(count) * m_channels * m_rows.sample_size();
    for (unsigned i = 0; i < m_row_count; ++i) {
        uint8_t* out = m_tile.data() + i * stride;
        m_rows.convert(m_first_row + i, pixel, count, out);
        memset(out + used, 0, stride - used);
    }
    memset(m_tile.data() + m_row_count * stride, 0, stride); // a row of weight 0 may be read behind the last one
    const VerticalRun run = {m_tile.data(), static_cast<ptrdiff_t>(stride), m_row_count, m_sums, columns};
    if (m_form == RowForm::bytes)
        m_kernels.vertical_bytes(run, samples(pixel));
    else
        m_kernels.vertical_floats(run, samples(pixel));
}

// Whichever way is less work. The vertical pass sums up rows of the source's width, and the horizontal pass begins with
// as many as the destination has: where a wide, low picture gets narrow and high, both work on what neither has.
Orientation better_orientation(const Picture& source, const Canvas& canvas) {
    const uint64_t wide = source.width, high = source.height, to_wide = canvas.width, to_high = canvas.height;
    const uint64_t widest = wide > to_wide ? wide : to_wide, highest = high > to_high ? high : to_high;
    const uint64_t upright = wide * highest + to_high * widest;
    const uint64_t transposed =
        high * widest + to_wide * highest + kTransposeIn * wide * high + kTransposeOut * to_wide * to_high;
    return transposed < upright ? Orientation::transposed : Orientation::upright;
}

bool is_all_opaque(const Picture& source, const RowKernels& kernels) {
    for (unsigned y = 0; y < source.height; ++y)
        if (!kernels.opaque(source.row(y), source.width))
            return false;
    return true;
}

} // namespace

bool resample(const Picture& source, const Canvas& canvas, const FilterPair& filters, const RowKernels& kernels) {
    const Orientation orientation = better_orientation(source, canvas);
    Outcome outcome = Outcome::not_opaque;
    if (channels_of(source) != 4 ||
        (source.bpp == 32 && (orientation == Orientation::upright || is_all_opaque(source, kernels))))
        outcome = Resampler(source, canvas, kernels, RowForm::bytes, orientation).run(filters);
    if (outcome == Outcome::not_opaque)
        outcome = Resampler(source, canvas, kernels, RowForm::weighted, orientation).run(filters);
    kernels.leave();
    return outcome == Outcome::done;
}

void pick_nearest(const Picture& source, const Canvas& canvas) {
    const unsigned bytes = source.bpp / 8;
    for (unsigned y = 0; y < canvas.height; ++y) {
        const uint8_t* from =
            source.row(static_cast<unsigned>((2 * uint64_t(y) + 1) * source.height / (2 * uint64_t(canvas.height))));
        uint8_t* to = canvas.row(y);
        if (!bytes)
            memset(to, 0, row_length(canvas.width, source.bpp));
        for (unsigned x = 0; x < canvas.width; ++x) {
            const size_t at = static_cast<size_t>((2 * uint64_t(x) + 1) * source.width / (2 * uint64_t(canvas.width)));
            if (bytes) {
                memcpy(to + static_cast<size_t>(x) * bytes, from + at * bytes, bytes);
            } else {
                const size_t bit = at * source.bpp, target = static_cast<size_t>(x) * source.bpp;
                const unsigned index = from[bit / 8] >> (8 - source.bpp - bit % 8) & ((1u << source.bpp) - 1);
                to[target / 8] = static_cast<uint8_t>(to[target / 8] | index << (8 - source.bpp - target % 8));
            }
        }
    }
}

} // namespace kobrtl
