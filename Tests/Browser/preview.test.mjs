// The preview page in Debian's chromium, headless, as a user drives it: sliders found by the
// parameters' names, a drag, the settled view against the exact frame, the frame scrubber, the
// copied command, a foreign Host name, and no console error or CSP violation on the way.
//   node preview.test.mjs FXHOST [SCREENSHOT.png]
import { spawn, execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import assert from 'node:assert/strict';

let chromium;
try {
  ({ chromium } = await import('playwright-core'));
} catch {
  console.error('playwright-core is missing: run `npm ci` in Tests/Browser (scripts/setup.sh does)');
  process.exit(1);
}

const [fxhost, screenshot] = process.argv.slice(2);
const browserPath = process.env.CHROMIUM || '/usr/lib/chromium/chromium';
const dir = mkdtempSync(join(tmpdir(), 'fxhost-browser-'));
const failures = [];
function check(what, fn) {
  try {
    fn();
    console.log(`ok   ${what}`);
  } catch (error) {
    failures.push(what);
    console.log(`FAIL ${what}\n     ${error.message.split('\n').join('\n     ')}`);
  }
}

// Three frames that differ, 640x360.
execFileSync('ffmpeg', ['-v', 'error', '-y', '-f', 'lavfi', '-i', 'testsrc2=size=640x360:rate=1', '-frames:v', '3',
  '-start_number', '1', join(dir, 'in_%04d.png')]);

const server = spawn(fxhost, ['preview', '--set', 'Saturation=1.2', join(dir, 'in_%04d.png')],
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
  const viewer = page.locator('#viewer');
  const settled = async () => {
    await page.waitForFunction(() => {
      const v = document.getElementById('viewer');
      const values = [...document.querySelectorAll('#parameters input[type=range]')].map((s) => s.value);
      return v.dataset.shown === 'exact' && values.every((value) => v.dataset.query.includes(encodeURIComponent(value).replace(/%20/g, '+')));
    }, null, { timeout: 20000 });
  };
  await settled();

  // Canvas pixels of the image, as drawn.
  const drawn = () => page.evaluate(() => {
    const v = document.getElementById('viewer');
    const [x, y, zoom] = v.dataset.origin.split(',').map(Number);
    const canvas = document.getElementById('canvas');
    const w = Math.min(canvas.width - x, Math.round(640 * zoom)), h = Math.min(canvas.height - y, Math.round(360 * zoom));
    return { x, y, zoom, data: Array.from(canvas.getContext('2d').getImageData(x, y, w, h).data) };
  });
  await page.getByRole('button', { name: 'After' }).click();
  const start = await drawn();

  // A drag across the hue slider in 60 steps.
  const box = await hue.boundingBox();
  frameRequests.length = 0;
  await page.mouse.move(box.x + 4, box.y + box.height / 2);
  await page.mouse.down();
  for (let i = 1; i <= 60; i += 1) {
    await page.mouse.move(box.x + 4 + (box.width * 0.6 * i) / 60, box.y + box.height / 2);
    await page.waitForTimeout(8);
  }
  await page.mouse.up();
  await settled();
  const dragged = await drawn();
  check(`a 60-step drag sends fewer requests (${frameRequests.length})`,
    () => assert.ok(frameRequests.length > 1 && frameRequests.length < 30, frameRequests.length));
  check('a drag changes the image', () => assert.notDeepEqual(dragged.data, start.data));

  // Settled at 1:1, the view is the exact frame for the values the sliders show.
  await viewer.focus();
  await page.keyboard.press('1');
  const values = { hue: await hue.inputValue(), saturation: await saturation.inputValue() };
  const exact = await page.evaluate(async ({ values }) => {
    const query = new URLSearchParams([['set', `Hue Value=${values.hue}`], ['set', `Saturation=${values.saturation}`],
      ['frame', '1']]);
    const blob = await (await fetch(`/api/frame?${query}`)).blob();
    const bitmap = await createImageBitmap(blob, { colorSpaceConversion: 'none', premultiplyAlpha: 'none' });
    const canvas = new OffscreenCanvas(bitmap.width, bitmap.height);
    const context = canvas.getContext('2d');
    context.drawImage(bitmap, 0, 0);
    return Array.from(context.getImageData(0, 0, bitmap.width, bitmap.height).data);
  }, { values });
  const oneToOne = await drawn();
  check('1:1 draws one image pixel per screen pixel', () => assert.equal(oneToOne.zoom, 1));
  check('the settled view is the full-resolution frame, pixel for pixel', () => {
    assert.equal(oneToOne.data.length, exact.length);
    const differing = oneToOne.data.findIndex((v, i) => v !== exact[i]);
    assert.equal(differing, -1, `first difference at byte ${differing}`);
  });
  // The probe reads the same values.
  const area = await viewer.boundingBox();
  await page.mouse.move(area.x + oneToOne.x + 123.5, area.y + oneToOne.y + 77.5);
  const probe = await page.evaluate(() => [document.getElementById('probe-xy').textContent,
    document.getElementById('probe-after').textContent]);
  check(`the probe gives the exact values (${probe.join(': ')})`, () => {
    assert.equal(probe[0], '123, 77');
    const at = (77 * 640 + 123) * 4;
    assert.equal(probe[1], exact.slice(at, at + 4).join(' '));
  });

  // The copied command is the command for what is shown.
  await page.getByRole('button', { name: 'Copy' }).click();
  const copied = await page.evaluate(() => navigator.clipboard.readText());
  const query = new URLSearchParams([['token', token], ['set', `Hue Value=${values.hue}`],
    ['set', `Saturation=${values.saturation}`], ['frame', '1']]);
  const command = (await (await fetch(`http://127.0.0.1:${port}/api/command?${query}`)).text()).trim();
  check('the copied command is /api/command for the view', () => assert.equal(copied, command));

  // Scrubbing: the viewer's arrow key moves to the next frame, which looks different.
  await viewer.focus();
  await page.keyboard.press('ArrowRight');
  await page.waitForFunction(() => document.getElementById('viewer').dataset.frame === '2', null, { timeout: 20000 });
  await settled();
  const second = await drawn();
  const frameField = await page.getByRole('spinbutton', { name: 'Frame number' }).inputValue();
  check('an arrow key in the viewer steps the frame field', () => assert.equal(frameField, '2'));
  check('another frame shows another image', () => assert.notDeepEqual(second.data, oneToOne.data));
  await page.locator('#frame-slider').fill('3');
  await page.waitForFunction(() => document.getElementById('viewer').dataset.frame === '3', null, { timeout: 20000 });
  await settled();
  const third = await drawn();
  check('the scrubber changes the frame shown', () => assert.notDeepEqual(third.data, second.data));

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
    await page.screenshot({ path: screenshot });
  }

  // A page reached through another name is refused.
  const rebound = await (await browser.newContext()).newPage();
  const answer = await rebound.goto(`http://evil.test:${port}/?token=${token}`);
  check('a foreign Host name is refused (DNS rebinding)', () => assert.equal(answer.status(), 403));

  check('no console error and no CSP violation', () => assert.deepEqual(problems, []));
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
