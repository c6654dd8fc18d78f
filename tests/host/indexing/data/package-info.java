/*
 * Copyright nobody.
 */

/**
 * Accounts, and the {@link Ledger} that keeps them.
 *
 * @since 1.2
 */
@NonNullByDefault
package org.example.ledger;

import org.example.NonNullByDefault;
