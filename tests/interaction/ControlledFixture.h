#pragma once

#include <orn/scene/TOrnComponent.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace orn::test {

/// A form that owns a controller of type C and a transformed component for it to steer; every
/// notification of the component is recorded with the translation it saw at that moment.
template <class C> class ControlledFixture : public ::testing::Test {
protected:
    ControlledFixture() {
        target->OnChange = [this](TObject*) { seen.push_back(T()->AsMathVector()); };
    }

    TOrnTranslation* T() const { return target->Transformation()->Translation(); }
    TOrnRotation* R() const { return target->Transformation()->Rotation(); }
    /// Places the target and forgets the notifications that caused.
    void Place(TOrnMathVector t, TOrnMathVector r) {
        T()->SetAsMathVector(t);
        R()->SetAsMathVector(r);
        seen.clear();
    }

    std::vector<TOrnMathVector> seen; // outlives the form
    std::unique_ptr<TComponent> form = std::make_unique<TComponent>(nullptr);
    TOrnTransformed* target = new TOrnTransformed(form.get());
    C* ctl = new C(form.get());
};

} // namespace orn::test
