// usage: node page.mjs PACKAGE LOADER
// Writes the page that shows a profile: all of the viewer in one file. Where @TITLE@ and @PROFILE@
// stand, a title and a profile are to be put.

import { readFileSync, readdirSync } from 'node:fs'
import { join } from 'node:path'

const [folder, loader] = process.argv.slice(2)
const release = join(folder, 'dist', 'release')

function find(begin, end) {
  const found = readdirSync(release).filter((name) => name.startsWith(begin) && name.endsWith(end))
  if (found.length !== 1) {
    throw new Error(`${found.length} files ${begin}*${end} in ${release}`)
  }
  return join(release, found[0])
}

const text = (path) => readFileSync(path, 'utf8').replace(/^(\/\/|\/\*)# sourceMappingURL=.*$/gm, '')
const data = (type, path) => `data:${type};base64,${readFileSync(path).toString('base64')}`

function script(path) {
  const source = text(path).trim()
  if (/<\/script|<!--/i.test(source)) {
    throw new Error(`${path} cannot stand in a page`)
  }
  return `<script>\n${source}\n</script>`
}

const style = text(find('speedscope-', '.css')).replace(/url\("\.\/([^"]+\.woff2)"\)/g, (_, name) => {
  return `url("${data('font/woff2', join(release, name))}")`
})
if (/url\((?!"data:)/.test(style)) {
  throw new Error('the style asks for other files')
}
const notices = [join(folder, 'LICENSE'), join(release, 'source-code-pro.LICENSE.md')]
const notice = notices.map((path) => text(path).trim().replaceAll('--', '- -')).join('\n\n')

// A page may hold values of a site: it cannot tell them to anybody.
const policy = [
  "default-src 'none'",
  "script-src 'unsafe-inline' 'unsafe-eval' 'wasm-unsafe-eval'",
  "style-src 'unsafe-inline'",
  'font-src data:',
  'img-src data: blob:',
].join('; ')

process.stdout.write(`<!DOCTYPE html>
<!--
This page holds speedscope and the font Source Code Pro. Their licences:

${notice}
-->
<html lang="en">
<head>
<meta charset="UTF-8">
<meta http-equiv="Content-Security-Policy" content="${policy}">
<meta name="viewport" content="width=device-width, initial-scale=1.0">
<title>@TITLE@</title>
<link rel="icon" type="image/png" href="${data('image/png', find('favicon-32x32-', '.png'))}">
<style>
${style.trim()}
</style>
<script type="application/json" id="profile">@PROFILE@</script>
</head>
<body>
${script(find('speedscope-', '.js'))}
${script(loader)}
</body>
</html>
`)
