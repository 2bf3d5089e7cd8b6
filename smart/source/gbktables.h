// The code page 936 tables, built once from the generated data in gbkdata.h.
//   forward[lead]: null, or 256 code points by trail byte (0: no character)
//   reverse[high byte]: null, or 256 {lead, trail} by low byte ({0, 0}: none)
#pragma once

#include <cstdint>

struct GbkTables {
    const uint16_t* forward[256];
    const uint8_t (*reverse[256])[2];
};

// Constant after the first call, which builds them; safe from any thread.
const GbkTables& GetGbkTables();
