// Frames that a walker meets in bad shape, for the stack walker's tests.
#pragma once

#include <string>

// Walks (qdr_WriteStackText) while its own return address and the frame pointer
// register hold garbage, puts them back and returns the text.
std::string WalkThroughClobberedFrame();
