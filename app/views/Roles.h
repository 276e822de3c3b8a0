#pragma once
#include <Qt>

namespace vesto {

/// What the item models of the windows answer, beside Qt's own roles. Names are as `shownName` leaves them.
enum Role : int {
    NameRole =
        Qt::DisplayRole, // the file name that it will carry, or carries; in tables of the name's column
    TitleRole = Qt::EditRole,
    IdRole = Qt::UserRole + 1, // QString
    OldNameRole,
    NewNameRole,     // in every column
    ConfidenceRole,  // double, 0 to 1
    StepRole,        // int, a ConfidenceMark::Step
    KindRole,        // int, a ContentSummary::Kind
    SymbolRole,      // int, the Symbol of the row
    SourceRole,      // int, a ConfidenceScorer::Source
    DateRole,        // QString, as short as it can be told
    LongDateRole,    // QString, with the time
    StatusRole,      // int, a RenameRecord::Status
    StatusTextRole,  // QString
    AutomaticRole,   // bool
    ErrorRole,       // QString
    FolderPathRole,  // QString, for people
    CurrentNameRole, // the file's present name
    FilePathRole,    // QByteArray, the file's present path
    CanUndoRole,     // bool
    IsFreshRole,     // bool: the number in the name was looked up
};

} // namespace vesto
