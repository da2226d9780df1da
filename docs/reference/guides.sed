# Escapes code in guides that Doxygen would read as a link or a command.
s/`::\([^`]*\)`/<tt>\\::\1<\/tt>/g
s/`\\\([a-z]\)`/<tt>\\\\\1<\/tt>/g
s/`\\\([^a-z`]\)`/<tt>\\\\\\\1<\/tt>/g
