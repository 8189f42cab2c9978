// The preview page in Debian's chromium, headless, as a user drives it: sliders found by the
// parameters' names, a drag, the settled view against the exact frame, the frame scrubber, the
// copied command, a foreign Host name, and no console error or CSP violation on the way.
//   node preview.test.mjs FXHOST [SCREENSHOT.png]
// FXHOST_BROWSER_INPUT=WxH picks the frames' size (default 640x360), e.g. 1920x1080 for a screenshot;
// FXHOST_BROWSER_DIR a folder for them (default: a new one under the system's temporary folder), so
// that a screenshot's command line shows no path of the machine it was taken on.
import { spawn, execFileSync } from 'node:child_process';
import { mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import assert from 'node:assert/strict';

let chromium;
try {
  ({ chromium } = await import('playwright-core'));
} catch {
  console.error('playwright-core is missing: run `npm ci` in Tests/Browser (scripts/setup-tests.sh does)');
  process.exit(1);
}

const [fxhost, screenshot] = process.argv.slice(2);
// Any failure ends the run at once and says what it was: an error no step awaited (a route's,
// the browser connection's) or a run past its time (ctest's limit is 120 s). fxhost preview
// writes to the same output as this script, so it is killed first: left running, it would hold
// ctest's pipe open and ctest would wait for it until its own limit. The browser goes with this
// process (playwright-core kills it at exit).
let server;
function abandon(why) {
  console.log(`FAIL ${why}`);
  server?.kill('SIGKILL');
  process.exit(1);
}
process.on('unhandledRejection', (error) => abandon(`an error no step awaited: ${error?.stack ?? error}`));
process.on('uncaughtException', (error) => abandon(`an uncaught error: ${error?.stack ?? error}`));
const limitSeconds = 100;
setTimeout(() => abandon(`not finished after ${limitSeconds} s`), limitSeconds * 1000).unref();
const browserPath = process.env.CHROMIUM || '/usr/lib/chromium/chromium';
const dir = process.env.FXHOST_BROWSER_DIR || mkdtempSync(join(tmpdir(), 'fxhost-browser-'));
mkdirSync(dir, { recursive: true });
const failures = [];
const began = Date.now();
function check(what, fn) {
  try {
    fn();
    console.log(`ok   ${what} (${((Date.now() - began) / 1000).toFixed(1)} s)`);
  } catch (error) {
    failures.push(what);
    console.log(`FAIL ${what}\n     ${error.message.split('\n').join('\n     ')}`);
  }
}

// Three frames that differ.
const [width, height] = (process.env.FXHOST_BROWSER_INPUT || '640x360').split('x').map(Number);
execFileSync('ffmpeg', ['-v', 'error', '-y', '-f', 'lavfi', '-i', `testsrc2=size=${width}x${height}:rate=1`, '-frames:v', '3',
  '-start_number', '1', join(dir, 'in_%04d.png')]);

// The hue keyed, still 0 at the first frame: the drag below replaces its keys with one value.
server = spawn(fxhost, ['preview', '--set', 'Saturation=1.2', '--set', 'Hue Value=0@1,40@3', join(dir, 'in_%04d.png')],
  { stdio: ['ignore', 'pipe', 'inherit'] });
const url = await new Promise((resolve, reject) => {
  createInterface({ input: server.stdout }).once('line', resolve);
  server.once('exit', (code) => reject(new Error(`fxhost preview ended with ${code}`)));
});
const { port, searchParams } = new URL(url);
const token = searchParams.get('token');

const browser = await chromium.launch({
  executablePath: browserPath,
  headless: true,
  args: ['--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync',
    '--host-resolver-rules=MAP evil.test 127.0.0.1'],
});
try {
  const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, deviceScaleFactor: 1 });
  await context.grantPermissions(['clipboard-read', 'clipboard-write'], { origin: `http://127.0.0.1:${port}` });
  const page = await context.newPage();
  const problems = [];
  page.on('console', (message) => { if (message.type() === 'error') problems.push(`console: ${message.text()}`); });
  page.on('pageerror', (error) => problems.push(`page error: ${error.message}`));
  await page.addInitScript(() => {
    document.addEventListener('securitypolicyviolation', (event) => console.error(`CSP: ${event.violatedDirective}`));
  });
  const frameRequests = [];
  page.on('request', (request) => {
    if (request.url().includes('/api/frame') && request.url().includes('view=after')) frameRequests.push(request.url());
  });

  await page.goto(url);
  check('the token leaves the address bar for a cookie', () => assert.equal(page.url(), `http://127.0.0.1:${port}/`));
  const hue = page.getByRole('slider', { name: 'Hue Value' });
  const saturation = page.getByRole('slider', { name: 'Saturation' });
  await hue.waitFor();
  const startValue = await saturation.inputValue();
  check('a slider per parameter, by its name, at the value given to --set', () => assert.equal(startValue, '1.2'));
  const hueLabel = page.locator('label[for=parameter-0]');
  const keyedLabel = await hueLabel.textContent();
  const viewer = page.locator('#viewer');
  const settled = async () => {
    await page.waitForFunction(() => {
      const v = document.getElementById('viewer');
      // Parameters changed on the page are sent; the others hold what the preview started with.
      const values = [...document.querySelectorAll('#parameters input[type=range][data-touched]')].map((s) => s.value);
      return v.dataset.shown === 'exact' && values.every((value) => v.dataset.query.includes(encodeURIComponent(value).replace(/%20/g, '+')));
    }, null, { timeout: 20000 });
  };
  await settled();

  // The image as drawn on the canvas: where, at what zoom, and a digest of its pixels.
  const drawn = () => page.evaluate(([width, height]) => {
    const [x, y, zoom] = document.getElementById('viewer').dataset.origin.split(',').map(Number);
    const canvas = document.getElementById('canvas');
    const w = Math.min(canvas.width - x, Math.round(width * zoom)), h = Math.min(canvas.height - y, Math.round(height * zoom));
    const data = canvas.getContext('2d').getImageData(x, y, w, h).data;
    let digest = 2166136261;
    for (let i = 0; i < data.length; i += 1) digest = Math.imul(digest ^ data[i], 16777619) >>> 0;
    return { x, y, zoom, digest };
  }, [width, height]);
  await page.getByRole('button', { name: 'After' }).click();
  const start = await drawn();

  // A drag across the hue slider in 60 steps.
  const box = await hue.boundingBox();
  await hue.evaluate((slider) => {
    window.inputEvents = 0;
    slider.addEventListener('input', () => { window.inputEvents += 1; });
  });
  // Each frame takes at least 60 ms to reach the server, as it would on a slow machine, so the
  // drag's steps come faster than the frames whatever this machine's load. Each held request is
  // let go once, by its own handler; an error doing so is a failure of this run, not a crash.
  const slowFrames = async (route) => {
    try {
      await new Promise((done) => setTimeout(done, 60));
      await route.continue();
    } catch (error) {
      problems.push(`holding a frame request: ${error.message}`);
    }
  };
  await page.route(/\/api\/frame/, slowFrames);
  frameRequests.length = 0;
  await page.mouse.move(box.x + 4, box.y + box.height / 2);
  await page.mouse.down();
  for (let i = 1; i <= 60; i += 1) {
    await page.mouse.move(box.x + 4 + (box.width * 0.6 * i) / 60, box.y + box.height / 2);
    await page.waitForTimeout(8);
  }
  await page.mouse.up();
  const inputs = await page.evaluate(() => window.inputEvents);
  const duringDrag = frameRequests.length;
  await settled();
  // Removed only once the requests it holds are let go: removed while one sleeps, playwright
  // would let that request go itself and the handler's own continue would find it handled.
  await page.unrouteAll({ behavior: 'wait' });
  const dragged = await drawn();
  check(`a drag of ${inputs} steps sends fewer requests (${duringDrag})`,
    () => assert.ok(duringDrag < inputs * 0.75, `${duringDrag} of ${inputs}`));
  check('a drag changes the image', () => assert.notEqual(dragged.digest, start.digest));
  const movedLabel = await hueLabel.textContent();
  check('a keyed slider says so until it is moved', () => {
    assert.equal(keyedLabel, 'Hue Value (keyed)');
    assert.equal(movedLabel, 'Hue Value');
  });

  // Settled at 1:1, the view is the exact frame for the values the sliders show.
  await viewer.focus();
  await page.keyboard.press('1');
  const values = { hue: await hue.inputValue(), saturation: await saturation.inputValue() };
  // The frame /api/frame gives for those values (the HTTP tests hold it to `fxhost render`),
  // against the canvas, and the probe over one pixel.
  const oneToOne = await drawn();
  // The visible part of the image, in image pixels (at 1:1 a large frame overflows the viewer).
  const canvasBox = await page.locator('#canvas').evaluate((c) => [c.width, c.height]);
  const visible = {
    left: Math.max(0, -oneToOne.x), top: Math.max(0, -oneToOne.y),
    right: Math.min(width, canvasBox[0] - oneToOne.x), bottom: Math.min(height, canvasBox[1] - oneToOne.y),
  };
  const probeAt = [visible.left + 123, visible.top + 77];
  const area = await viewer.boundingBox();
  await page.mouse.move(area.x + oneToOne.x + probeAt[0] + 0.5, area.y + oneToOne.y + probeAt[1] + 0.5);
  const compared = await page.evaluate(async ({ values, visible, probeAt }) => {
    const query = new URLSearchParams([['set', `Hue Value=${values.hue}`], ['set', `Saturation=${values.saturation}`],
      ['frame', '1']]);
    const blob = await (await fetch(`/api/frame?${query}`)).blob();
    const bitmap = await createImageBitmap(blob, { colorSpaceConversion: 'none', premultiplyAlpha: 'none' });
    const scratch = new OffscreenCanvas(bitmap.width, bitmap.height).getContext('2d');
    scratch.drawImage(bitmap, 0, 0);
    const w = visible.right - visible.left, h = visible.bottom - visible.top;
    const exact = scratch.getImageData(visible.left, visible.top, w, h).data;
    const [x, y] = document.getElementById('viewer').dataset.origin.split(',').map(Number);
    const shown = document.getElementById('canvas').getContext('2d')
      .getImageData(x + visible.left, y + visible.top, w, h).data;
    const probe = scratch.getImageData(probeAt[0], probeAt[1], 1, 1).data;
    return {
      differing: exact.findIndex((v, i) => v !== shown[i]),
      probeXY: document.getElementById('probe-xy').textContent,
      probe: document.getElementById('probe-after').textContent,
      expected: Array.from(probe).join(' '),
    };
  }, { values, visible, probeAt });
  check('1:1 draws one image pixel per screen pixel', () => assert.equal(oneToOne.zoom, 1));
  check('the settled view is the full-resolution frame, pixel for pixel',
    () => assert.equal(compared.differing, -1, `first difference at byte ${compared.differing}`));
  check(`the probe gives the exact values (${compared.probeXY}: ${compared.probe})`, () => {
    assert.equal(compared.probeXY, probeAt.join(', '));
    assert.equal(compared.probe, compared.expected);
  });

  // The copied command is the command for what is shown.
  // Copied at once after a step of a slider, while its command is still settling.
  await saturation.focus();
  await page.keyboard.press('ArrowRight');
  await page.getByRole('button', { name: 'Copy' }).click();
  await page.getByRole('button', { name: 'Copied' }).waitFor({ timeout: 20000 });
  const copied = await page.evaluate(() => navigator.clipboard.readText());
  const query = new URLSearchParams([['token', token], ['set', `Hue Value=${values.hue}`],
    ['set', `Saturation=${await saturation.inputValue()}`], ['frame', '1']]);
  const command = (await (await fetch(`http://127.0.0.1:${port}/api/command?${query}`)).text()).trim();
  check('the copied command is /api/command for the view', () => assert.equal(copied, command));
  // The shown command follows a change in the same event, not when the frames settle.
  const shown = await saturation.evaluate((slider) => {
    slider.value = '0.5';
    slider.dispatchEvent(new Event('input', { bubbles: true }));
    return document.getElementById('command').textContent;
  });
  const halfQuery = new URLSearchParams([['token', token], ['set', `Hue Value=${values.hue}`],
    ['set', 'Saturation=0.5'], ['frame', '1']]);
  const half = (await (await fetch(`http://127.0.0.1:${port}/api/command?${halfQuery}`)).text()).trim();
  check('the shown command is /api/command as soon as a slider moves', () => assert.equal(shown, half));

  // Scrubbing: the viewer's arrow key moves to the next frame, which looks different.
  await viewer.focus();
  await page.keyboard.press('ArrowRight');
  await page.waitForFunction(() => document.getElementById('viewer').dataset.frame === '2', null, { timeout: 20000 });
  await settled();
  const second = await drawn();
  const frameField = await page.getByRole('spinbutton', { name: 'Frame number' }).inputValue();
  check('an arrow key in the viewer steps the frame field', () => assert.equal(frameField, '2'));
  check('another frame shows another image', () => assert.notEqual(second.digest, oneToOne.digest));
  await page.locator('#frame-slider').fill('3');
  await page.waitForFunction(() => document.getElementById('viewer').dataset.frame === '3', null, { timeout: 20000 });
  await settled();
  const third = await drawn();
  check('the scrubber changes the frame shown', () => assert.notEqual(third.digest, second.digest));

  // Shift+arrow on a slider is a large step; double-click is the default again.
  await hue.focus();
  const before = Number(await hue.inputValue());
  await page.keyboard.press('Shift+ArrowRight');
  const stepped = Number(await hue.inputValue());
  check('Shift+arrow is a large step', () => assert.equal(stepped, Math.round((before + 10) / 10) * 10));
  await saturation.dblclick();
  const reset = await saturation.inputValue();
  check('double-click resets to the default', () => assert.equal(reset, '1'));

  if (screenshot) {
    await page.getByRole('button', { name: 'Split' }).click();
    await page.getByRole('button', { name: 'Fit' }).click();
    await page.mouse.move(900, 420);
    await settled();
    await page.waitForFunction(() => !document.getElementById('status').textContent.startsWith('rendering'));
    await page.screenshot({ path: screenshot });
  }

  // A page reached through another name is refused.
  const rebound = await (await browser.newContext()).newPage();
  const answer = await rebound.goto(`http://evil.test:${port}/?token=${token}`);
  check('a foreign Host name is refused (DNS rebinding)', () => assert.equal(answer.status(), 403));

  check('no console error, CSP violation or error holding a request', () => assert.deepEqual(problems, []));
} finally {
  await browser.close();
  server.kill('SIGINT');
  rmSync(dir, { recursive: true, force: true });
}
const code = await new Promise((resolve) => server.once('exit', resolve));
check('fxhost preview ends with 0 on SIGINT', () => assert.equal(code, 0));
if (failures.length) {
  console.log(`${failures.length} failed`);
  process.exit(1);
}
console.log('all passed');
