// A call written in the host language's syntax:
//   InvertVQZ
//   ChangeContrastVQZ(0.5)
//   TintPictureVQZ(&c555555, &cFFE0B0)
//   EmbeddedMaskVQZ(false) = mask.png        (assigns through the method's setter)
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vqz {

struct CallExpression {
    std::string text;               // as written
    std::string name;
    std::vector<std::string> args;  // each argument's text, trimmed
    std::optional<std::string> assigned;
};

// Throws ToolError naming the text and the problem.
CallExpression parseCallExpression(const std::string& text);
// True when `text` looks like a call (a name, then nothing, "(", or " =").
bool looksLikeCall(const std::string& text);

}  // namespace vqz
