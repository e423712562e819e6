// Draws the window with a file open into a picture, for machines without a display.
#pragma once

#include <QString>

namespace cw {

class CMainFrame;
class main_window_host;

/// Opens two levels of the first root and selects the first item below it, so that both panes have
/// something to show. An empty tree stays as it is.
void arrange_for_picture(CMainFrame& frame);

/// Brings the program up with the host's arguments, writes the picture (its format by the path's
/// extension) and goes down again. Questions are refused; messages go to standard error. Answers the
/// exit status: 0, or 1 where there was a message or the picture could not be written.
int run_for_picture(main_window_host& host, const QString& picture_path);

} // namespace cw
