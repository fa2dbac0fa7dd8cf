#pragma once

/**
 * Names the fonts to use where a machine lacks those that the panel is drawn with: for "MS UI Gothic" IPA Gothic and
 * WenQuanYi (which has the Chinese letters, and comes first where the default locale is Chinese), for "Arial" an
 * Arial-metric font, followed by the same two.
 *
 * Call it in the GUI thread before the first text is laid out; later calls change nothing. Rests on
 * QFont::insertSubstitutions().
 */
void insertFontFallbacks();
