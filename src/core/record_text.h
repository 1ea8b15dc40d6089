// Owned C strings of the descriptive records (ids, names, comments, file
// dates). Records keep each text as a plain heap copy, null meaning "none",
// so that the flat interface can hand out the record's own pointer.
#ifndef ORVIL_RECORD_TEXT_H
#define ORVIL_RECORD_TEXT_H

// A heap copy of `text` (new[]), or null for null.
char* QEL_copyText(const char* text);
// Replaces the text owned by `slot` with a copy of `text` (null stores
// null). Safe when `text` points into the old text.
void QEL_replaceText(char*& slot, const char* text);

#endif
