// For tests of the plugin's inner pieces, linked into the test program: points
// the linked copy's resolver at the stand-in host for the length of a test, and
// forgets the application kind between tests. Entry points, once found, stay
// cached in the linked copy, so tests that hide entry points load a fresh module
// instead.
#pragma once

#include "picture/editor.h"
#include "plugin/host_api.h"
#include "tests/support/fixture.h"

namespace vqztest {

class LinkedPluginTest : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        link();
    }
    void TearDown() override {
        gResolver = nullptr;
        rbversion_rbversion = 0.0;
        IsConsole = IsDesktop = 0;
        PluginTest::TearDown();
    }
    void load(const HostConfig& config) {
        PluginTest::load(config);
        link();
    }

private:
    void link() {
        gResolver = standin::resolve;
        rbversion_rbversion = hostConfig().hasVersion ? hostConfig().version : 0.0;
        IsConsole = IsDesktop = 0;
    }
};

}  // namespace vqztest
