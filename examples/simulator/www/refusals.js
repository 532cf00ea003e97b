/* Why the device refused an upload: its answer has no room for the reason. */

const SLACK_MS = 2000; // the device tells whole seconds, and may be asked late

/** The reason of the last refused upload to `route` in the device's words, if it began at `begun` (performance.now()) or later; else empty. */
export async function reasonOf(api, route, begun = -Infinity) {
  const [path] = route.split('?');
  try {
    const { refusals } = await api.getJson('/sim/refusals');
    const found = refusals.find((entry) => entry.route === path);
    return found && found.age * 1000 <= performance.now() - begun + SLACK_MS ? found.reason : '';
  } catch {
    return ''; // this device does not tell
  }
}
