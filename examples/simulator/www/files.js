/* The list of files that the device keeps, as several views need it. */

/** Calls show(files) now and whenever a file changed; files maps a kind to {size, mtime}. */
export function watchFiles(ctx, show) {
  async function load() {
    try {
      const { files } = await ctx.api.getJson('/sim/files');
      if (!ctx.signal.aborted) show(Object.fromEntries(files.filter((file) => file.size).map((file) => [file.kind, file])));
    } catch (error) {
      ctx.check(error);
    }
  }
  ctx.on('event', (message) => {
    if (message.type === 'restored' || (message.type === 'upload' && message.done && message.ok)) load();
  });
  load();
  return load;
}
