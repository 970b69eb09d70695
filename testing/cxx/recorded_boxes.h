// In place of KOBRTL's message box, which would wait for a click: the texts of the boxes.
#pragma once

#include <string>
#include <vector>

struct RecordedBox {
    void* owner;
    unsigned flags;
    std::string text;
};

// The boxes since the last call of clear_recorded_boxes.
const std::vector<RecordedBox>& recorded_boxes();
void clear_recorded_boxes();
