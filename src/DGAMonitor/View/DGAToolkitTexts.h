#pragma once

/// The toolkit's own texts (the save panel's labels, its questions, the text field's menu) and its dates in
/// the client's language, from the translations that are installed with the toolkit; English where there are
/// none. Costs nothing when the language is the one of the last call. Main thread.
void dgaUseToolkitTexts();
