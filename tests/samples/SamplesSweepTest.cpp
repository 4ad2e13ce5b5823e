// Every sample control painted at sizes from nothing to the largest bitmap side, with the extreme
// values of its properties: nothing may crash, hang or touch memory it does not own (run it under
// ORN_SANITIZE for the last).
#include <orn/diag/TOrnAboutBox.h>
#include <orn/host/TComponentClass.h>
#include <orn/samples/TOrnCalendar.h>
#include <orn/samples/TOrnColorGrid.h>
#include <orn/samples/TOrnGauge.h>
#include <orn/samples/TOrnPerformanceGraph.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace orn {
namespace {

constexpr TSize kSizes[] = {{0, 0}, {1, 1}, {7, 1}, {1, 4096}, {301, 37}, {4096, 4096}};
constexpr double kInf = std::numeric_limits<double>::infinity();

std::vector<std::unique_ptr<TControl>> ExtremeControls() {
    std::vector<std::unique_ptr<TControl>> out;
    for (int kind = gkText; kind <= gkNeedle + 1; ++kind) {
        auto g = std::make_unique<TOrnGauge>(nullptr);
        g->Font().SetHeight(TFont::kMaxHeight);
        g->SetKind(kind > gkNeedle ? gkPie : static_cast<TOrnGaugeKind>(kind));
        g->SetMinValue(kind > gkNeedle ? 10 : LLONG_MIN);
        g->SetMaxValue(kind > gkNeedle ? -10 : LLONG_MAX);
        g->SetProgress(LLONG_MAX - 1);
        if (kind > gkNeedle) {
            g->AddProgress(LLONG_MIN);
            g->SetKind(static_cast<TOrnGaugeKind>(99));
        }
        out.push_back(std::move(g));
    }
    for (int ordering : {int(go1x16), -1}) {
        auto g = std::make_unique<TOrnColorGrid>(nullptr);
        g->SetGridOrdering(static_cast<TOrnGridOrdering>(ordering));
        g->SetForegroundIndex(INT_MAX);
        g->SetBackgroundIndex(INT_MIN);
        g->Font().SetHeight(-TFont::kMaxHeight);
        out.push_back(std::move(g));
    }
    for (int extreme : {INT_MIN, INT_MAX}) {
        auto c = std::make_unique<TOrnCalendar>(nullptr);
        c->SetCalendarDate({extreme, extreme, extreme});
        c->SetStartOfWeek(extreme);
        c->AddMonths(extreme);
        c->AddDays(extreme);
        c->Font().SetHeight(TFont::kMaxHeight);
        out.push_back(std::move(c));
    }
    for (int extreme : {INT_MIN, INT_MAX}) {
        auto g = std::make_unique<TOrnPerformanceGraph>(nullptr);
        g->SetStepSize(extreme);
        g->SetGridSize(extreme);
        g->SetAutoScale(extreme > 0);
        g->SetScale(extreme > 0 ? std::numeric_limits<double>::quiet_NaN() : -kInf);
        int series = 0;
        for (double v : {std::numeric_limits<double>::max(), -1e308, 0.0, 1e-300, kInf}) {
            g->DataPoint(static_cast<TColor>(++series), v);
            g->Update();
        }
        out.push_back(std::move(g));
    }
    out.push_back(std::make_unique<TOrnAboutBox>(nullptr));
    out.back()->Font().SetHeight(TFont::kMaxHeight);
    return out;
}

TEST(SamplesSweep, PaintingAnySizeWithExtremePropertiesIsSafe) {
    TBitmap bitmap;
    for (const TSize size : kSizes) {
        const bool huge = size.cx * size.cy > 1 << 20;
        std::string previousClass;
        for (const auto& control : ExtremeControls()) {
            // The largest size costs most: once per class is enough.
            const bool first = control->ClassName() != previousClass;
            previousClass = control->ClassName();
            if (huge && !first) continue;
            SCOPED_TRACE(previousClass + " " + std::to_string(size.cx) + " x " + std::to_string(size.cy));
            control->SetBounds(-5, INT_MAX, size.cx, size.cy);
            control->PaintTo(bitmap);
            EXPECT_EQ(bitmap.Width(), size.cx);
            std::uint16_t key = VK_DOWN;
            control->KeyDown(key, {ssCtrl});
            control->MouseDown(mbLeft, {}, size.cx - 1, size.cy - 1);
            control->MouseDown(mbRight, {}, INT_MIN, INT_MAX);
            control->PaintTo(bitmap);
        }
    }
}

} // namespace
} // namespace orn
