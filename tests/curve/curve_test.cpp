// curve_test.cpp - gamma tables and response curves, beside what long doubles make of them.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "support/channels.h"
#include "support/fault.h"
#include "support/report_log.h"
#include "support/resolution.h"
#include "zor/curve.h"

namespace {

using Curve = ZOR_RESPONSE_CURVE;
using Real = long double;

Curve power(float gamma, int channels, int elements, int type, int depth) {
    return {1, gamma, 77, channels, elements, type, depth, nullptr};
}

// A curve with tables of its own: by its shape, or one after another.
struct Owner {
    Owner() = default;
    explicit Owner(const Curve &shape) : curve(shape), status(ZOR_response_curve_init(&curve)) {}
    Owner(const Curve &first, const Curve &second)
        : curve(power(9, 9, 9, 9, 9)), status(ZOR_response_curve_comp(&first, &second, &curve)) {}
    ~Owner() { ZOR_response_curve_done(&curve); }
    Owner(const Owner &) = delete;
    Owner &operator=(const Owner &) = delete;

    [[nodiscard]] bool is(int channels, int elements, int type, int depth) const {
        return status == 0 && curve.kind == 2 && curve.num_channels == channels &&
               curve.num_elements == elements && curve.type == type && curve.depth == depth;
    }
    [[nodiscard]] std::vector<double> entries(int channel) const {
        return with_sample({1, curve.type, curve.depth}, [&]<class Entry>(Entry) {
            const auto *table = static_cast<const Entry *>(curve.tables[channel]);
            return std::vector<double>(table, table + curve.num_elements);
        });
    }

    Curve curve = {};
    int status = 0;
};

// Expects a table to be near a function of the place.
template<class Entry, class Expected>
void expect_near(const Entry &table, size_t count, double bound, Expected expected) {
    Real worst = 0;
    for (size_t i = 0; i < count; ++i)
        worst = std::max<Real>(worst, std::abs(static_cast<Real>(table[i]) - expected(Real(i))));
    EXPECT_LT(static_cast<double>(worst), bound);
}
constexpr double rounding = 0.5 + 1e-9;

template<class Entry>
std::unique_ptr<Entry[], void (*)(Entry *)> own(Entry *table) {
    return {table, [](Entry *entries) { EXPECT_EQ(ZOR_gamma_done(entries), 1); }};
}

TEST(GammaTables, AreThePowersWithinTheirBounds) {
    for (const int n : {1, 2, 200, 4096, 65536}) {
        const Resolution resolution(n);
        for (const double gamma : {0.4, 1.0, 2.2, -1.0, 0.0, HUGE_VAL, std::nan("")}) {
            const auto btof = own(ZOR_gamma_btof(gamma));
            const auto btos = own(ZOR_gamma_btos(gamma));
            const auto tob = own(ZOR_gamma_tob(gamma));
            const auto tof = own(ZOR_gamma_tof(gamma));
            EXPECT_EQ(btof == nullptr, n == 1);
            EXPECT_EQ(tob == nullptr, n == 1);
            if (n == 1 || !(gamma > 0 && gamma < 3)) // which only has to do no harm
                continue;
            const Real top = n - 1;
            const auto light = [&](Real i) { return std::pow(i / 255, Real(gamma)); };
            const auto code = [&](Real i) { return std::pow(i / top, 1 / Real(gamma)) * 255; };
            expect_near(btof, 256, 1e-5, [&](Real i) { return std::max(light(i), i / top); });
            expect_near(btos, 256, rounding, [&](Real i) { return std::max(light(i) * top, i); });
            expect_near(tob, n, rounding, [&](Real i) { return std::min(code(i), i); });
            expect_near(tof, n, 1e-4,
                        [&](Real i) { return std::min(code(i) / 255 * Real(254.9), i); });
        }
    }
}

TEST(Tabulating, GivesThePowerToEveryChannel) {
    const Curve shapes[] = {
        power(1, 3, 256, ZOR_C_INTEGER, 8),     power(1, 1, 16, ZOR_C_INTEGER, 8),
        power(2.2F, 3, 256, ZOR_C_INTEGER, 12), power(0.45F, 2, 4096, ZOR_C_INTEGER, 8),
        power(1, 1, 3, ZOR_C_INTEGER, 16),      power(1, 2, 100, ZOR_C_FLOAT, 0),
        power(1.8F, 1, 257, ZOR_C_FLOAT, 99)};
    for (const Curve &shape : shapes) {
        const Owner owner(shape);
        ASSERT_TRUE(owner.is(shape.num_channels, shape.num_elements, shape.type, shape.depth));
        EXPECT_EQ(owner.curve.reserved, 0);
        const bool integer = shape.type == ZOR_C_INTEGER;
        const Real scale = integer ? std::exp2(Real(shape.depth)) - 1 : 1;
        for (int k = 0; k < shape.num_channels; ++k)
            expect_near(
                owner.entries(k), shape.num_elements, integer ? rounding : 1e-7, [&](Real i) {
                    return std::pow(i / (shape.num_elements - 1), Real(shape.gamma)) * scale;
                });
    }
}

TEST(Tabulating, RefusesSilentlyWhatTablesCannotHave) {
    const ReportLog log;
    const Curve bad[] = {power(1, 1, 256, ZOR_C_INTEGER, 7),
                         power(1, 1, 256, ZOR_C_INTEGER, 17),
                         power(1, 1, 256, 0, 8),
                         power(1, 1, 256, 3, 8),
                         power(1, 1, INT32_MIN, ZOR_C_FLOAT, 8),
                         power(1, 1, 1, ZOR_C_FLOAT, 8),
                         power(1, 1, (1 << 24) + 1, ZOR_C_FLOAT, 8),
                         power(1, -1, 256, ZOR_C_INTEGER, 8),
                         power(1, 0, 256, ZOR_C_INTEGER, 8)};
    zor__err = -3;
    for (const Curve &shape : bad) {
        const Owner owner(shape);
        EXPECT_TRUE(owner.status == -1 && owner.curve.tables == nullptr && zor__err == -3);
    }
    EXPECT_EQ(log.text(), "");
}

TEST(Copying, GivesTablesOfItsOwn) {
    const ReportLog log;
    Owner owner(power(2.2F, 2, 256, ZOR_C_INTEGER, 12));
    owner.curve.reserved = 5;
    Owner copy;
    ASSERT_EQ(ZOR_response_curve_copy(&copy.curve, &owner.curve), 0);
    EXPECT_NE(copy.curve.tables[1], owner.curve.tables[1]);
    EXPECT_EQ(copy.curve.reserved, 5);
    EXPECT_EQ(copy.entries(1), owner.entries(0));

    const auto copies_to_none = [](const Curve &curve) {
        Owner none;
        const int result = ZOR_response_curve_copy(&none.curve, &curve);
        EXPECT_EQ(none.curve.tables, nullptr);
        return result;
    };
    EXPECT_EQ(copies_to_none(power(2, 0, 0, 0, 0)), 0); // a function has none
    Curve bad = owner.curve;
    bad.depth = 20;
    EXPECT_EQ(copies_to_none(bad), -1);
    EXPECT_THAT(log.last(),
                testing::StartsWith("Invalid curve depth 1 found: must be in the range 8 to 16"));
    bad.type = 3;
    EXPECT_EQ(copies_to_none(bad), -1);
    EXPECT_TRUE(log.has(ZOR_MSG_CURVE_TYPE));
}

const Curve encoding = power(0.5F, 3, 4096, ZOR_C_INTEGER, 8);
const Curve decoding = power(1.8F, 3, 256, ZOR_C_INTEGER, 12);

TEST(Composing, PowersDivideTheirExponents) {
    const Owner result(power(2.2F, 1, 2, ZOR_C_INTEGER, 8), power(1, 3, 4096, ZOR_C_FLOAT, 5));
    ASSERT_TRUE(result.is(3, 4096, ZOR_C_INTEGER, 8));
    expect_near(result.entries(2), 4096, 0.5001,
                [](Real i) { return std::pow(i / 4095, 1 / Real(2.2F)) * 255; });
}

TEST(Composing, TablesLookUpWhatTheSecondGives) {
    const Owner encode(encoding);
    const Owner decode(decoding);
    std::vector<double> looked_up = decode.entries(1);
    for (double &entry : looked_up)
        entry = encode.entries(1)[static_cast<size_t>(entry)];
    // The same with either of them as a function.
    for (const auto &[first, second] : {std::pair(encode.curve, decode.curve),
                                        {power(2, 1, 5, ZOR_C_INTEGER, 8), decode.curve},
                                        {encode.curve, decoding}}) {
        const Owner result(first, second);
        ASSERT_TRUE(result.is(3, 256, ZOR_C_INTEGER, 8));
        EXPECT_EQ(result.curve.gamma, 1.0F);
        EXPECT_EQ(result.entries(1), looked_up);
        for_each_failing_allocation([&, first = first, second = second](Fault &fault) {
            const ReportLog log;
            zor__err = 0;
            {
                const Owner failing(first, second);
                EXPECT_EQ(failing.status, fault.struck() ? -1 : 0);
                EXPECT_EQ(failing.curve.tables == nullptr, fault.struck());
            }
            EXPECT_EQ(zor__err, fault.struck() ? ZOR_E_MEMORY : 0);
            EXPECT_EQ(fault.live(), 0);
        });
    }
    // What the second gives beyond the first's entries becomes the last of them: here four bits
    // in bytes, into floats.
    uint8_t bytes[] = {0, 3, 15, 16, 255};
    void *tables[] = {bytes};
    const Owner first(power(1, 1, 16, ZOR_C_FLOAT, 0));
    const Owner result(first.curve, {2, 1, 0, 1, 5, ZOR_C_INTEGER, 4, tables});
    ASSERT_TRUE(result.is(1, 5, ZOR_C_FLOAT, 0));
    EXPECT_THAT(result.entries(0), testing::ElementsAre(0, 0.2F, 1, 1, 1));
}

TEST(Composing, CurvesThatDoNotFit) {
    const Owner encode(encoding);
    const Owner decode(decoding);
    const Owner four(power(1, 4, 256, ZOR_C_INTEGER, 8)); // whose elements differ as well
    const Owner floats(power(1, 3, 256, ZOR_C_FLOAT, 0));
    const Owner bytes(power(1, 3, 256, ZOR_C_INTEGER, 8));
    Curve no_tables = encode.curve;
    no_tables.tables = nullptr;
    const auto text = [](int, int, int, const char *format) { return std::string(format); };
    const std::tuple<Curve, Curve, std::string> cases[] = {
        {encode.curve, four.curve, text(ZOR_MSG_CURVE_CHANNELS)},
        {encode.curve, floats.curve, text(ZOR_MSG_CURVE_FLOAT)},
        {power(2, 1, 1, ZOR_C_INTEGER, 8), floats.curve, text(ZOR_MSG_CURVE_FLOAT)},
        {encode.curve, bytes.curve, text(ZOR_MSG_CURVE_ELEMENTS)},
        {power(2, 1, 1, ZOR_C_INTEGER, 20), decode.curve, ""},
        {encode.curve, power(2, 3, 1, ZOR_C_INTEGER, 12), ""},
        {no_tables, decode.curve, ""}};
    for (const auto &[first, second, report] : cases) {
        const ReportLog log;
        const Owner result(first, second);
        EXPECT_TRUE(result.status == -1 && result.curve.tables == nullptr);
        EXPECT_EQ(log.reports.empty() ? "" : log.reports[0].format, report);
    }
}

} // namespace
