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
#include <functional>
#include <limits>
#include <memory>
#include <vector>

namespace orn {
namespace {

constexpr TSize kSizes[] = {{0, 0}, {1, 1}, {7, 1}, {1, 4096}, {301, 37}, {4096, 4096}};

// Property settings, each applied on top of the control's defaults.
using Setting = std::function<void(TControl&)>;

std::vector<Setting> GaugeSettings() {
    std::vector<Setting> settings;
    for (int kind = gkText; kind <= gkNeedle; ++kind)
        settings.push_back([kind](TControl& c) {
            auto& g = dynamic_cast<TOrnGauge&>(c);
            g.SetKind(static_cast<TOrnGaugeKind>(kind));
            g.SetMinValue(LLONG_MIN);
            g.SetMaxValue(LLONG_MAX);
            g.SetProgress(LLONG_MAX - 1);
            g.Font().SetHeight(TFont::kMaxHeight);
        });
    settings.push_back([](TControl& c) {
        auto& g = dynamic_cast<TOrnGauge&>(c);
        g.SetKind(gkPie);
        g.SetMinValue(10);
        g.SetMaxValue(-10);
        g.AddProgress(LLONG_MIN);
        g.SetKind(static_cast<TOrnGaugeKind>(99));
    });
    return settings;
}

std::vector<Setting> GridSettings() {
    return {[](TControl& c) {
                auto& g = dynamic_cast<TOrnColorGrid&>(c);
                g.SetGridOrdering(go1x16);
                g.SetForegroundIndex(INT_MAX);
                g.SetBackgroundIndex(INT_MIN);
                g.Font().SetHeight(-TFont::kMaxHeight);
            },
            [](TControl& c) {
                dynamic_cast<TOrnColorGrid&>(c).SetGridOrdering(static_cast<TOrnGridOrdering>(-1));
            }};
}

std::vector<Setting> CalendarSettings() {
    return {[](TControl& c) {
                auto& cal = dynamic_cast<TOrnCalendar&>(c);
                cal.SetCalendarDate({INT_MIN, INT_MIN, INT_MIN});
                cal.SetStartOfWeek(INT_MIN);
                cal.AddMonths(INT_MIN);
            },
            [](TControl& c) {
                auto& cal = dynamic_cast<TOrnCalendar&>(c);
                cal.SetCalendarDate({INT_MAX, INT_MAX, INT_MAX});
                cal.AddDays(INT_MAX);
                cal.Font().SetHeight(TFont::kMaxHeight);
            }};
}

std::vector<Setting> GraphSettings() {
    return {[](TControl& c) {
                auto& g = dynamic_cast<TOrnPerformanceGraph&>(c);
                g.SetStepSize(INT_MIN);
                g.SetGridSize(INT_MIN);
                g.SetAutoScale(false);
                g.SetScale(-std::numeric_limits<double>::infinity());
                for (double v : {std::numeric_limits<double>::max(), -1e308, 0.0, 1e-300}) {
                    g.DataPoint(static_cast<TColor>(v), v);
                    g.Update();
                }
            },
            [](TControl& c) {
                auto& g = dynamic_cast<TOrnPerformanceGraph&>(c);
                g.SetStepSize(INT_MAX);
                g.SetGridSize(INT_MAX);
                g.SetScale(std::numeric_limits<double>::quiet_NaN());
                g.DataPoint(clRed, std::numeric_limits<double>::infinity());
                g.Update();
            }};
}

TEST(SamplesSweep, PaintingAnySizeWithExtremePropertiesIsSafe) {
    const struct {
        TComponentClass cls;
        std::vector<Setting> settings;
    } controls[] = {{ClassOf<TOrnGauge>(), GaugeSettings()},
                    {ClassOf<TOrnColorGrid>(), GridSettings()},
                    {ClassOf<TOrnCalendar>(), CalendarSettings()},
                    {ClassOf<TOrnPerformanceGraph>(), GraphSettings()},
                    {ClassOf<TOrnAboutBox>(), {[](TControl& c) { c.Font().SetHeight(TFont::kMaxHeight); }}}};
    TBitmap bitmap;
    for (const auto& entry : controls)
        for (const Setting& setting : entry.settings)
            for (const TSize size : kSizes) {
                // The largest size costs most: once per control is enough.
                if (size.cx * size.cy > 1 << 20 && &setting != &entry.settings.front()) continue;
                std::unique_ptr<TComponent> component(entry.cls->Create(nullptr));
                auto& control = dynamic_cast<TControl&>(*component);
                control.SetBounds(-5, INT_MAX, size.cx, size.cy);
                setting(control);
                control.PaintTo(bitmap);
                EXPECT_EQ(bitmap.Width(), size.cx) << entry.cls->Name;
                std::uint16_t key = VK_DOWN;
                control.KeyDown(key, {ssCtrl});
                control.MouseDown(mbLeft, {}, size.cx - 1, size.cy - 1);
                control.MouseDown(mbRight, {}, INT_MIN, INT_MAX);
                control.PaintTo(bitmap);
            }
}

} // namespace
} // namespace orn
