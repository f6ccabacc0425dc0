#pragma once
// What assistive technology (a screen reader on the accessibility bus) is
// told beyond what Qt's widgets tell by themselves: the roles of the form
// windows and the board, and the focus on the item a list chooses.

class QAbstractItemView;

namespace pelmora {

// A form window is a frame, or a dialog when it comes up over another
// window; the board is a graphic whose child is the focus cell as said
// (board_accessible.h). Installed once; later calls do nothing.
void InstallAccessibleRoles();

// Tells the bus that the item at row, now current, has the focus (while the
// list has it). Qt tells it only when the current row moves, and the first
// choice in a list often lands on the row Qt already held as current.
void TellFocusedItem(QAbstractItemView& view, int row);

}  // namespace pelmora
