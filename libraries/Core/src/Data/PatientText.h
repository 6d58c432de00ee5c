#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QString>

namespace vlr {

/// Ids and names of patients as they are compared, stored and shown: two texts that nobody can
/// tell apart on a screen must not be two patients.
///
///     patient->setPatientId(vlr::normalizedId(typed));     // "0001", also of " 0001\u200B"
///     label->setText(vlr::visibleText(patient->name()));   // "Doe\u202E" as it is
///
/// Pure functions, for any thread and any text. The characters are those of ICU.

/// The text composed (NFC), without outer blanks of any kind and without characters that format,
/// control, are for private use, are not assigned, or are halves of surrogate pairs. Tabs and
/// line breaks become blanks. What is left may be empty. Done twice it changes nothing.
VLR_CORE_EXPORT QString normalizedText(const QString& text);

/// The same for an id, which loses every other invisible character too, as fillers, variation
/// selectors and signs that are drawn as nothing.
VLR_CORE_EXPORT QString normalizedId(const QString& id);

/// Why the id is not its own normalized form, in English, with the character that is to blame;
/// empty for a good one.
VLR_CORE_EXPORT QString idProblem(const QString& id);

/// The same for a name and its normalizedText(). An empty name is in order.
VLR_CORE_EXPORT QString nameProblem(const QString& name);

/// The text with what cannot be seen written out, as "\u202E" or "\U000E0001": characters that
/// format, control or are otherwise invisible, also those that turn the direction, those for
/// private use, and outer blanks. Any other text comes back as it is. For showing only.
VLR_CORE_EXPORT QString visibleText(const QString& text);

/// Ids with one skeleton are easily taken for one another: "O1" and "0l", "P 7" and "p7", or ids
/// in two scripts. Confusable characters are those of UTS 39; blanks, the case and wide or raised
/// forms (NFKC) make no difference either. A skeleton is no id and is not shown.
VLR_CORE_EXPORT QString idSkeleton(const QString& id);

/// Why no store takes the text: it has a NUL or half of a surrogate pair. Otherwise empty.
VLR_CORE_EXPORT QString storageProblem(const QString& text);

} // namespace vlr
