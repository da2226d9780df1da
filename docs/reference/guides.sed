# Escapes code in guides that Doxygen would read as a link or a command, and sets the font of diagrams.
s/`::\([^`]*\)`/<tt>\\::\1<\/tt>/g
s/`\\\([a-z]\)`/<tt>\\\\\1<\/tt>/g
s/`\\\([^a-z`]\)`/<tt>\\\\\\\1<\/tt>/g
# Doxygen numbers the headings and can't resolve links to them by name.
s/\[\([^]]*\)\](#[^)]*)/\1/g
s/\.md#[^)]*)/.md)/g
/^digraph .*{$/a\
graph [fontname=Helvetica, fontsize=11]\
node [fontname=Helvetica, fontsize=11, height=0.35]\
edge [fontname=Helvetica, fontsize=10, arrowsize=0.7]
# The pictures lie beside the pages.
s|src="docs/pictures/|src="|
