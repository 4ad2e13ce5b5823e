#include <orn/host/TInput.h>
#include <orn/view/TOrnWindowSurface.h>

#include <GLFW/glfw3.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

TEST(GlfwKeyToVirtualKey, TranslatesTheKeysControllersUseAndGivesZeroForTheRest) {
    const std::pair<int, int> table[] = {{GLFW_KEY_A, 'A'},
                                         {GLFW_KEY_Z, 'Z'},
                                         {GLFW_KEY_0, '0'},
                                         {GLFW_KEY_9, '9'},
                                         {GLFW_KEY_SPACE, VK_SPACE},
                                         {GLFW_KEY_ESCAPE, VK_ESCAPE},
                                         {GLFW_KEY_ENTER, VK_RETURN},
                                         {GLFW_KEY_KP_ENTER, VK_RETURN},
                                         {GLFW_KEY_TAB, VK_TAB},
                                         {GLFW_KEY_BACKSPACE, VK_BACK},
                                         {GLFW_KEY_INSERT, VK_INSERT},
                                         {GLFW_KEY_DELETE, VK_DELETE},
                                         {GLFW_KEY_LEFT, VK_LEFT},
                                         {GLFW_KEY_UP, VK_UP},
                                         {GLFW_KEY_RIGHT, VK_RIGHT},
                                         {GLFW_KEY_DOWN, VK_DOWN},
                                         {GLFW_KEY_PAGE_UP, VK_PRIOR},
                                         {GLFW_KEY_PAGE_DOWN, VK_NEXT},
                                         {GLFW_KEY_HOME, VK_HOME},
                                         {GLFW_KEY_END, VK_END},
                                         {GLFW_KEY_KP_ADD, VK_ADD},
                                         {GLFW_KEY_KP_SUBTRACT, VK_SUBTRACT},
                                         {GLFW_KEY_F1, VK_F1},
                                         {GLFW_KEY_F4, VK_F4},
                                         {GLFW_KEY_F12, 123},
                                         {GLFW_KEY_LEFT_SHIFT, VK_SHIFT},
                                         {GLFW_KEY_RIGHT_CONTROL, VK_CONTROL},
                                         {GLFW_KEY_KP_0, 96},
                                         {GLFW_KEY_KP_9, 105},
                                         {GLFW_KEY_UNKNOWN, 0},
                                         {GLFW_KEY_WORLD_1, 0},
                                         {GLFW_KEY_MENU, 0},
                                         {GLFW_KEY_GRAVE_ACCENT, 0},
                                         {100000, 0},
                                         {-7, 0}};
    for (auto [glfw, vk] : table)
        EXPECT_EQ(GlfwKeyToVirtualKey(glfw), vk) << glfw;
}

} // namespace
} // namespace orn
