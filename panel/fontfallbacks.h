#pragma once

/**
 * Names the fonts to use where a machine lacks those that the panel is drawn with: an Arial-metric font for "Arial",
 * IPA Gothic and WenQuanYi (which also has the Chinese letters) for "MS UI Gothic".
 *
 * Call it in the GUI thread before the first text is laid out; later calls change nothing. Rests on
 * QFont::insertSubstitutions().
 */
void insertFontFallbacks();
