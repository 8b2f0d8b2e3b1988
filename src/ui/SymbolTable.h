#pragma once

#include <QString>
#include <QStringView>

#include <span>
#include <string_view>

// The symbols the views name, in the platform's symbol set, and the icon drawn for each where the
// platform has no such set: a Lucide SVG from the resources, with the elements of some drawn
// filled so that ".fill" symbols look filled although Lucide draws outlines only.
struct SymbolEntry {
    std::string_view name;
    // The Lucide file's base name, under :/icons/lucide/.
    std::string_view lucideIcon;
    // One letter per top-level element of the SVG, in document order; elements past the end are
    // strokes. 'S' stroke as drawn, 'F' filled, 'C' stroke cut out of what is drawn, 'X' filled
    // and cut out. Cuts are applied after everything else is drawn.
    std::string_view parts = {};
};

// Every symbol the interface uses, in no particular order.
std::span<const SymbolEntry> allSymbols();

// The entry named `name`, or null for a name the table does not know.
const SymbolEntry* findSymbol(QStringView name);

// A question mark in a circle, drawn for names the table does not know.
const SymbolEntry& fallbackSymbol();

// The resource path of the entry's Lucide SVG.
QString lucideResourcePath(const SymbolEntry& entry);
