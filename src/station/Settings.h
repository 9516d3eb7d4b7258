#pragma once

class Station;

// Reads every key of Tervala.ini into the station, in the file's documented
// order; a key that is absent, empty or unreadable keeps its current value.
void ReadSettings(Station& st);

// Writes the layout, scale indices and thresholds that the station holds now
// (the windows put their current places into st.layout before calling).
void SaveSettings(Station& st);
