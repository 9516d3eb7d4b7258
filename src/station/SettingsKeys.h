#pragma once

// Sections and keys of the settings file Tervala.ini, in one place.
namespace Ini {
inline constexpr char File[] = "Tervala.ini";

inline constexpr char SecComPorts[] = "COMPORTS";
inline constexpr char CommSettings[] = "CommSettings";
inline constexpr char NCOM[] = "NCOM";
inline constexpr char PortName[] = "PortName";

inline constexpr char SecPath[] = "Path";
inline constexpr char IniPathDat[] = "IniPathDat";
inline constexpr char IniPathDB[] = "IniPathDB";

inline constexpr char SecInterval[] = "INTERVAL";
inline constexpr char TIMER[] = "TIMER";

inline constexpr char SecPositions[] = "POSITIONS";
inline constexpr char MDITop[] = "MDITop";
inline constexpr char MDILeft[] = "MDILeft";
inline constexpr char MDIWidth[] = "MDIWidth";
inline constexpr char MDIHeight[] = "MDIHeight";
inline constexpr char frmValLeft[] = "frmValLeft";
inline constexpr char frmValTop[] = "frmValTop";
// Window keys: "W1" / "W2" followed by one of these.
inline constexpr char State[] = "State";
inline constexpr char X1[] = "X1"; // left
inline constexpr char X2[] = "X2"; // width
inline constexpr char Y1[] = "Y1"; // top
inline constexpr char Y2[] = "Y2"; // height

inline constexpr char SecScales[] = "SCALES";
inline constexpr char InitScaleYIndex[] = "InitScaleYIndex";
inline constexpr char InitScaleXIndex[] = "InitScaleXIndex";
// The added graph's keys carry its window number behind the key word.
inline constexpr char InitScaleYIndexAdd[] = "InitScaleYIndexAdd";
inline constexpr char InitScaleXIndexAdd[] = "InitScaleXIndexAdd";
inline constexpr char AddWindowNumber[] = "0";
inline constexpr char SCALEY[] = "SCALEY"; // followed by the entry number 0..9

inline constexpr char SecLimit[] = "LIMIT";
inline constexpr char Limit1[] = "Limit1";
inline constexpr char Limit2[] = "Limit2";

inline constexpr char SecRus[] = "RUS";
inline constexpr char Rus[] = "Rus";

inline constexpr char SecGeneral[] = "GENERAL";
inline constexpr char NofComponents[] = "NofComponents";

// The record viewer: the folder of the files last opened, how many there were
// and each one's name (a full path when it lies elsewhere). One key a file, as
// a value is read back at most 127 characters long.
inline constexpr char SecViewer[] = "Viewer";
inline constexpr char ViewerFolder[] = "Folder";
inline constexpr char ViewerFiles[] = "Files";
inline constexpr char ViewerFile[] = "File"; // followed by 1, 2, ...

// Publishing to an MQTT broker; off while Host is empty.
inline constexpr char SecMQTT[] = "MQTT";
inline constexpr char MqttHost[] = "Host";
inline constexpr char MqttPort[] = "Port";
inline constexpr char MqttTopic[] = "Topic";
inline constexpr char MqttClientId[] = "ClientId";
inline constexpr char MqttUser[] = "User";
inline constexpr char MqttPassword[] = "Password";
inline constexpr char MqttCAFile[] = "CAFile";

// The control room's layout.
inline constexpr char SecControlRoom[] = "ControlRoom";
inline constexpr char CrStations[] = "Stations"; // the stations in the order first seen, by commas
inline constexpr char CrSorted[] = "Sorted";     // 1: stations sorted by name
inline constexpr char CrGraphs[] = "Graphs"; // the open trend graphs: station/channel, by commas
} // namespace Ini
