// curve_test.cpp - gamma tables and response curves, beside what long doubles make of them.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "support/fault.h"
#include "support/report_log.h"
#include "support/resolution.h"
#include "zor/curve.h"

namespace {

using Curve = ZOR_RESPONSE_CURVE;
using Real = long double;

struct Owner {
    Curve curve = {};
    ~Owner() { ZOR_response_curve_done(&curve); }
};

Curve power(float gamma, int channels, int elements, int type, int depth) {
    return {1, gamma, 77, channels, elements, type, depth, nullptr};
}

double entry(const Curve &curve, int channel, int i) {
    const void *table = curve.tables[channel];
    if (curve.type == ZOR_C_FLOAT)
        return static_cast<double>(static_cast<const float *>(table)[i]);
    return curve.depth <= 8 ? static_cast<const uint8_t *>(table)[i]
                            : static_cast<const uint16_t *>(table)[i];
}

// Largest difference of a table from a function of the place.
template<class Entry, class Expected>
double error(const Entry *table, int count, Expected expected) {
    Real worst = 0;
    for (int i = 0; i < count; ++i)
        worst = std::max(worst, std::abs(static_cast<Real>(table[i]) - expected(i)));
    return static_cast<double>(worst);
}
template<class Expected>
double error(const Curve &curve, int channel, Expected expected) {
    std::vector<double> entries;
    for (int i = 0; i < curve.num_elements; ++i)
        entries.push_back(entry(curve, channel, i));
    return error(entries.data(), curve.num_elements, expected);
}
constexpr double rounding = 0.5 + 1e-9;

TEST(GammaTables, AreThePowersWithinTheirBounds) {
    struct Free {
        void operator()(void *table) const { EXPECT_EQ(ZOR_gamma_done(table), 1); }
    };
    for (const int n : {2, 200, 4096, 65536}) {
        const Resolution resolution(n);
        for (const double gamma : {0.4, 1.0, 1.8, 2.2}) {
            const std::unique_ptr<float, Free> btof(ZOR_gamma_btof(gamma));
            const std::unique_ptr<uint16_t, Free> btos(ZOR_gamma_btos(gamma));
            const std::unique_ptr<uint8_t, Free> tob(ZOR_gamma_tob(gamma));
            const std::unique_ptr<float, Free> tof(ZOR_gamma_tof(gamma));
            const auto light = [&](int i) { return std::pow(Real(i) / 255, Real(gamma)); };
            const auto value = [&](int i) { return std::pow(Real(i) / (n - 1), 1 / Real(gamma)); };
            EXPECT_LT(error(btof.get(), 256,
                            [&](int i) { return std::max(light(i), Real(i) / (n - 1)); }),
                      1e-5);
            EXPECT_LT(error(btos.get(), 256,
                            [&](int i) { return std::max<Real>(light(i) * (n - 1), i); }),
                      rounding);
            EXPECT_LT(error(tob.get(), n, [&](int i) { return std::min<Real>(value(i) * 255, i); }),
                      rounding);
            EXPECT_LT(error(tof.get(), n,
                            [&](int i) { return std::min<Real>(value(i) * Real(254.9), i); }),
                      1e-4);
        }
    }
    const Resolution none(1);
    EXPECT_EQ(ZOR_gamma_btof(1), nullptr);
    EXPECT_EQ(ZOR_gamma_tob(1), nullptr);
}

TEST(GammaTables, TakeAnyExponent) {
    for (const double gamma : {-1.0, 0.0, HUGE_VAL, std::nan("")}) {
        for (void *table :
             {static_cast<void *>(ZOR_gamma_btof(gamma)),
              static_cast<void *>(ZOR_gamma_btos(gamma)), static_cast<void *>(ZOR_gamma_tob(gamma)),
              static_cast<void *>(ZOR_gamma_tof(gamma))})
            ZOR_gamma_done(table);
    }
}

TEST(Tabulating, GivesThePowerToEveryChannel) {
    const Curve shapes[] = {
        power(1, 3, 256, ZOR_C_INTEGER, 8),     power(1, 1, 16, ZOR_C_INTEGER, 8),
        power(2.2F, 3, 256, ZOR_C_INTEGER, 12), power(0.45F, 2, 4096, ZOR_C_INTEGER, 8),
        power(1, 1, 3, ZOR_C_INTEGER, 16),      power(1, 2, 100, ZOR_C_FLOAT, 0),
        power(1.8F, 1, 257, ZOR_C_FLOAT, 99)};
    for (const Curve &shape : shapes) {
        Owner owner{shape};
        ASSERT_EQ(ZOR_response_curve_init(&owner.curve), 0);
        EXPECT_EQ(owner.curve.kind, 2);
        EXPECT_EQ(owner.curve.reserved, 0);
        const Real scale = shape.type == ZOR_C_INTEGER ? std::exp2(Real(shape.depth)) - 1 : 1;
        for (int k = 0; k < shape.num_channels; ++k)
            EXPECT_LT(error(owner.curve, k,
                            [&](int i) {
                                return std::pow(Real(i) / (shape.num_elements - 1),
                                                Real(shape.gamma)) *
                                       scale;
                            }),
                      shape.type == ZOR_C_INTEGER ? rounding : 1e-7);
    }
    Owner sixteen{shapes[1]};
    ZOR_response_curve_init(&sixteen.curve);
    EXPECT_EQ(entry(sixteen.curve, 0, 1), 17);
}

TEST(Tabulating, RefusesSilentlyWhatTablesCannotHave) {
    ReportLog log;
    std::vector<Curve> bad;
    for (const int depth : {-1, 0, 1, 7, 17, 32})
        bad.push_back(power(1, 1, 256, ZOR_C_INTEGER, depth));
    for (const int type : {0, 3})
        bad.push_back(power(1, 1, 256, type, 8));
    for (const int elements : {INT32_MIN, 0, 1, (1 << 24) + 1, INT32_MAX})
        bad.push_back(power(1, 1, elements, ZOR_C_FLOAT, 8));
    for (const int channels : {-1, 0})
        bad.push_back(power(1, channels, 256, ZOR_C_INTEGER, 8));
    zor__err = -3;
    for (Curve &curve : bad) {
        EXPECT_EQ(ZOR_response_curve_init(&curve), -1);
        EXPECT_EQ(curve.tables, nullptr);
    }
    EXPECT_EQ(zor__err, -3);
    EXPECT_EQ(log.text(), "");
}

TEST(Copying, GivesTablesOfItsOwn) {
    ReportLog log;
    Owner owner{power(2.2F, 2, 256, ZOR_C_INTEGER, 12)};
    ZOR_response_curve_init(&owner.curve);
    owner.curve.reserved = 5;
    Owner copy;
    ASSERT_EQ(ZOR_response_curve_copy(&copy.curve, &owner.curve), 0);
    EXPECT_NE(copy.curve.tables[1], owner.curve.tables[1]);
    EXPECT_EQ(copy.curve.reserved, 5);
    EXPECT_EQ(error(copy.curve, 1, [&](int i) { return Real(entry(owner.curve, 0, i)); }), 0);

    Curve bad = owner.curve;
    Owner none;
    zor__err = -3;
    for (const int depth : {1, 7, 20}) {
        bad.depth = depth;
        EXPECT_EQ(ZOR_response_curve_copy(&none.curve, &bad), -1);
        EXPECT_EQ(log.last(), "Invalid curve depth 1 found: must be in the range 8 to 16");
        EXPECT_EQ(none.curve.tables, nullptr);
    }
    bad.type = 3;
    EXPECT_EQ(ZOR_response_curve_copy(&none.curve, &bad), -1);
    EXPECT_TRUE(log.has(ZOR_MSG_CURVE_TYPE));
    EXPECT_EQ(zor__err, -3);

    const Curve function = power(2, 0, 0, 0, 0);
    EXPECT_EQ(ZOR_response_curve_copy(&none.curve, &function), 0);
    EXPECT_EQ(none.curve.tables, nullptr);
}

class Composing : public testing::Test {
protected:
    Composing() {
        ZOR_response_curve_init(&encode.curve);
        ZOR_response_curve_init(&decode.curve);
    }
    int compose(const Curve &first, const Curve &second) {
        ZOR_response_curve_done(&result.curve);
        result.curve = power(9, 9, 9, 9, 9);
        return ZOR_response_curve_comp(&first, &second, &result.curve);
    }
    [[nodiscard]] bool is(int channels, int elements, int type, int depth) const {
        const Curve &curve = result.curve;
        return curve.kind == 2 && curve.num_channels == channels &&
               curve.num_elements == elements && curve.type == type && curve.depth == depth;
    }

    ReportLog log;
    Owner encode{power(0.5F, 3, 4096, ZOR_C_INTEGER, 8)};
    Owner decode{power(1.8F, 3, 256, ZOR_C_INTEGER, 12)};
    Owner result;
};

TEST_F(Composing, PowersDivideTheirExponents) {
    ASSERT_EQ(compose(power(2.2F, 1, 2, ZOR_C_INTEGER, 8), power(1, 3, 4096, ZOR_C_FLOAT, 5)), 0);
    EXPECT_TRUE(is(3, 4096, ZOR_C_INTEGER, 8));
    EXPECT_LT(error(result.curve, 2,
                    [](int i) { return std::pow(Real(i) / 4095, 1 / Real(2.2F)) * 255; }),
              0.5001);
}

TEST_F(Composing, TablesLookUpWhatTheSecondGives) {
    const auto look_up = [&](int i) {
        return Real(entry(encode.curve, 1, static_cast<int>(entry(decode.curve, 1, i))));
    };
    ASSERT_EQ(compose(encode.curve, decode.curve), 0);
    EXPECT_TRUE(is(3, 256, ZOR_C_INTEGER, 8));
    EXPECT_EQ(result.curve.gamma, 1.0F);
    EXPECT_EQ(error(result.curve, 1, look_up), 0);
    // The same with either of them as a function.
    ASSERT_EQ(compose(power(2, 1, 5, ZOR_C_INTEGER, 8), decode.curve), 0);
    EXPECT_TRUE(is(3, 256, ZOR_C_INTEGER, 8));
    EXPECT_EQ(error(result.curve, 1, look_up), 0);
    ASSERT_EQ(compose(encode.curve, power(1.8F, 3, 256, ZOR_C_INTEGER, 12)), 0);
    EXPECT_EQ(error(result.curve, 1, look_up), 0);
}

TEST_F(Composing, EntriesBeyondTheFirstCurveAreItsLast) {
    // Four bits in bytes, into floats.
    uint8_t bytes[] = {0, 3, 15, 16, 255};
    void *tables[] = {bytes};
    const Curve second = {2, 1, 0, 1, 5, ZOR_C_INTEGER, 4, tables};
    Owner first{power(1, 1, 16, ZOR_C_FLOAT, 0)};
    ZOR_response_curve_init(&first.curve);
    ASSERT_EQ(compose(first.curve, second), 0);
    EXPECT_TRUE(is(1, 5, ZOR_C_FLOAT, 0));
    const float *table = static_cast<const float *>(result.curve.tables[0]);
    EXPECT_THAT(std::vector<float>(table, table + 5), testing::ElementsAre(0, 0.2F, 1, 1, 1));
}

TEST_F(Composing, CurvesThatDoNotFit) {
    Owner four{power(1, 4, 256, ZOR_C_INTEGER, 8)};
    Owner floats{power(1, 3, 256, ZOR_C_FLOAT, 0)};
    Owner bytes{power(1, 3, 256, ZOR_C_INTEGER, 8)};
    for (Owner *owner : {&four, &floats, &bytes})
        ZOR_response_curve_init(&owner->curve);
    Curve no_tables = encode.curve;
    no_tables.tables = nullptr;
    const auto refuse = [&](const Curve &first, const Curve &second) {
        log.clear();
        zor__err = -3;
        EXPECT_EQ(compose(first, second), -1);
        EXPECT_EQ(result.curve.tables, nullptr);
        EXPECT_EQ(zor__err, -3);
    };
    refuse(encode.curve, four.curve); // whose element counts differ as well
    EXPECT_TRUE(log.has_only(ZOR_MSG_CURVE_CHANNELS));
    refuse(encode.curve, floats.curve);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CURVE_FLOAT));
    refuse(power(2, 1, 1, ZOR_C_INTEGER, 8), floats.curve);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CURVE_FLOAT));
    refuse(encode.curve, bytes.curve);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CURVE_ELEMENTS));
    refuse(power(2, 1, 1, ZOR_C_INTEGER, 20), decode.curve);
    refuse(encode.curve, power(2, 3, 1, ZOR_C_INTEGER, 12));
    refuse(no_tables, decode.curve);
    EXPECT_EQ(log.text(), "");
}

TEST_F(Composing, MemoryRunsOut) {
    const Curve pairs[][2] = {
        {power(2, 1, 1, ZOR_C_INTEGER, 8), power(1, 3, 256, ZOR_C_INTEGER, 8)},
        {power(2, 1, 1, ZOR_C_INTEGER, 8), decode.curve},
        {encode.curve, power(1, 3, 256, ZOR_C_INTEGER, 12)},
        {encode.curve, decode.curve}};
    for (const auto &[first, second] : pairs) {
        const long points = for_each_failing_allocation([&](Fault &fault) {
            zor__err = 0;
            Owner own;
            const int outcome = ZOR_response_curve_comp(&first, &second, &own.curve);
            EXPECT_EQ(outcome, fault.struck() ? -1 : 0);
            EXPECT_EQ(zor__err, fault.struck() ? ZOR_E_MEMORY : 0);
            EXPECT_EQ(own.curve.tables == nullptr, fault.struck());
            ZOR_response_curve_done(&own.curve);
            EXPECT_EQ(fault.live(), 0);
        });
        EXPECT_GE(points, 2);
    }
}

} // namespace
