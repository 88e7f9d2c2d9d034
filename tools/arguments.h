// Literals of the host language as they appear in a call: whole numbers (12, -3,
// &hFF, &b101, &o17), colors (&cRRGGBB), doubles (0.5, 1e3), booleans (true,
// false), nil and quoted strings ("text", with "" for a quote).
#pragma once

#include <cstdint>
#include <string>

#include "host/call.h"

namespace vqz {

bool parseIntegerLiteral(const std::string& text, int64_t& value);
bool parseDoubleLiteral(const std::string& text, double& value);
bool parseColorLiteral(const std::string& text, uint32_t& value);  // &cRRGGBB only
bool parseBooleanLiteral(const std::string& text, bool& value);
bool isNilLiteral(const std::string& text);
// A quoted string literal: true and the text without quotes.
bool parseStringLiteral(const std::string& text, std::string& value);

// Values as the tool prints them: true/false, 42, 0.5, &c274C5A, text, ...
std::string formatDouble(double v);
std::string formatValue(const standin::Value& v);
// The type name as a person reads it in a declaration ("integer", "picture").
std::string typeWord(const standin::Param& p);

}  // namespace vqz
