#pragma once

/// Members that a host's windows may have beyond their interfaces. The plug-in looks for them by name,
/// through Qt's meta-objects, and does without those that it does not find.
namespace optional_member {

/// Slot of the AVWindow: selects the anomalies of these names, of any station, and no others: what is
/// highlighted on the globe. Those that the table does not hold now are selected when it does. It announces
/// nothing.
constexpr char kSelectByName[] = "SetSelectedbyname(QStringList)";

/// Signal of the AVWindow: the user selected other rows; the names of all that are selected now. While nobody
/// is connected to it, the host itself highlights what is selected.
constexpr char kSelectionChanged[] = "selectionChanged(QStringList)";

/// Slot of the StationWindow: selects the special object of that name, as the one that the user works on. An
/// unknown name changes nothing.
constexpr char kSelectNode[] = "SelectNode(QString)";

} // namespace optional_member
