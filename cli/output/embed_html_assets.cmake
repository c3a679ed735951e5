# Writes a C++ source that carries the HTML report's style sheet and script,
# and the SHA-256 of the script (the page's content security policy allows
# that one script by its hash), and the style added to pages that show the
# changes since a baseline or the blast radius, and to pages that show a
# suppression file's rules:
#   cmake -DSTYLE=a.css -DCHANGES_STYLE=c.css -DSUPPRESSIONS_STYLE=s.css
#         -DSCRIPT=b.js -DOUTPUT=source.cpp -P embed_html_assets.cmake
function(embed_bytes file variable)
  file(READ "${file}" hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "((0x..,){16})" "\\1\n" bytes "${bytes}")
  set(${variable} "${bytes}" PARENT_SCOPE)
endfunction()

embed_bytes("${STYLE}" style)
embed_bytes("${CHANGES_STYLE}" changes_style)
embed_bytes("${SUPPRESSIONS_STYLE}" suppressions_style)
embed_bytes("${SCRIPT}" script)
file(SHA256 "${SCRIPT}" script_sha256)
file(WRITE "${OUTPUT}.tmp"
"// Generated from ${STYLE}, ${CHANGES_STYLE}, ${SUPPRESSIONS_STYLE} and
// ${SCRIPT} by embed_html_assets.cmake; do not edit.
#include \"cli/output/html_assets.hpp\"

namespace vesk {
namespace cli {

char const kHtmlStyle[] = {
${style}0x00};
char const kHtmlChangesStyle[] = {
${changes_style}0x00};
char const kHtmlSuppressionsStyle[] = {
${suppressions_style}0x00};
char const kHtmlScript[] = {
${script}0x00};
char const kHtmlScriptSha256[] = \"${script_sha256}\";

}  // namespace cli
}  // namespace vesk
")
file(RENAME "${OUTPUT}.tmp" "${OUTPUT}")
